// Vector kernels against the plain loops that define them, on every instruction set. (The tests of
// rotations and conversions do that for the kernels that move or average pixels.)
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>

#include "core/kernels/bilateral.h"
#include "core/kernels/bits_of_row.h"
#include "core/kernels/count_row.h"
#include "core/kernels/decide_row.h"
#include "core/kernels/enlarge_row.h"
#include "core/kernels/extremes_of_rows.h"
#include "core/kernels/find_majorities.h"
#include "core/kernels/gaussian.h"
#include "core/kernels/gaussian_small.h"
#include "core/kernels/mean.h"
#include "core/kernels/median_by_columns.h"
#include "core/kernels/median_run_by_histograms.h"
#include "core/kernels/scaled_brightness.h"
#include "core/kernels/spread_bits.h"
#include "core/kernels/spread_ellipse.h"
#include "core/kernels/spread_row.h"
#include "support/targets.h"
#include "support/test_image.h"

namespace {

using namespace kel::imageprocess;
using Bytes = std::vector<uint8_t>;
using Words = std::vector<uint16_t>;

constexpr int kVector = 64;  // bytes that kernels may touch beyond the end

// Runs of 0, of 255 and of random bytes, as in masks.
Bytes mask_bytes(test::Random& random, int size) {
  Bytes bytes;
  while (static_cast<int>(bytes.size()) < size) {
    const int kind = random.range(0, 2);
    for (int run = random.range(1, 40); run > 0; --run) {
      bytes.push_back(static_cast<uint8_t>(kind == 2 ? random.range(0, 255) : 255 * kind));
    }
  }
  bytes.resize(static_cast<size_t>(size));
  return bytes;
}

// run(plain, bytes) and run(kernel, bytes) fill the bytes alike.
template <typename Function, typename Run>
void expect_equal(int size, Function plain, Function kernel, Run run) {
  Bytes expected(static_cast<size_t>(size), 77);
  run(plain, expected.data());
  test::on_every_target([&] {
    Bytes result(static_cast<size_t>(size + kVector), 77);
    run(kernel, result.data());
    result.resize(expected.size());
    ASSERT_EQ(result, expected);
  });
}

TEST(Kernels, BitsOfRow) {
  test::Random random(10);
  for (int width = 1; width < 300; ++width) {
    const Bytes row = mask_bytes(random, width);
    const auto level = static_cast<uint8_t>(random.range(0, 254));
    std::vector<uint64_t> bits(static_cast<size_t>(width + 63) / 64);
    const int size = static_cast<int>(8 * bits.size());
    expect_equal(size, bits_above_plain, bits_above, [&](auto above, uint8_t* to) {
      above(bits.data(), row.data(), width, level);
      std::memcpy(to, bits.data(), 8 * bits.size());
    });
    expect_equal(width, bytes_of_bits_plain, bytes_of_bits,
                 [&](auto spread, uint8_t* to) { spread(to, bits.data(), width); });
  }
}

TEST(Kernels, CountRow) {
  test::Random random(1);
  for (int ksize = 1; ksize < 200; ksize += 2) {
    const int width = random.range(1, 300);
    const Bytes row = mask_bytes(random, width + ksize + kVector);
    Bytes scratch(row.size());
    for (const uint8_t value : {uint8_t{0}, uint8_t{255}, row[0]}) {
      expect_equal(width, count_row_plain, count_row, [&](auto count, uint8_t* counts) {
        count(counts, row.data(), width, ksize, value, scratch.data());
      });
    }
  }
}

TEST(Kernels, DecideRow) {
  test::Random random(2);
  for (int width = 1; width < 140; ++width) {
    const int pitch = width + kVector;
    const Bytes rows = mask_bytes(random, 4 * pitch);
    Words start(rows.size());
    for (uint16_t& sum : start) sum = static_cast<uint16_t>(random.range(255, 900));
    for (const bool counts_zeros : {false, true}) {
      expect_equal(3 * pitch, decide_row_plain, decide_row, [&](auto decide, uint8_t* to) {
        Words sums = start;
        const WindowCount fulls{sums.data(), rows.data(), rows.data() + pitch};
        WindowCount zeros{nullptr, rows.data() + 2 * pitch, rows.data() + 3 * pitch};
        if (counts_zeros) zeros.sums = sums.data() + pitch;
        Bytes result(rows.size());
        Bytes open(rows.size());
        decide(RowDecision{width, 500, zeros, fulls, result.data(), open.data()});
        std::copy_n(result.begin(), width, to);
        std::copy_n(open.begin(), width, to + width);
        for (int x = 0; x < width; ++x) {
          const auto i = static_cast<size_t>(x);
          to[2 * width + x] = static_cast<uint8_t>(7 * sums[i] + sums[i + start.size() / 4]);
        }
      });
    }
  }
}

TEST(Kernels, FindMajorities) {
  constexpr int kRowWords = 3;
  constexpr int kHeight = 40;
  test::Random random(8);
  for (int ksize = 3; ksize <= WordColumn::kLargestWindow; ksize += 2) {
    for (const bool is_noise : {false, true}) {
      const Bytes pixels = mask_bytes(random, 64 * kRowWords * kHeight);
      std::vector<uint64_t> words(kRowWords * kHeight);
      for (size_t i = 0; i < pixels.size(); ++i) {
        const bool bit = is_noise ? random.range(0, 1) == 0 : pixels[i] > 127;
        words[i / 64] |= uint64_t{bit} << (i % 64);
      }
      const int first = random.range(0, kHeight - 1);
      const int end = random.range(first, kHeight);
      expect_equal(8 * kHeight, find_majorities_plain, find_majorities, [&](auto find, auto* to) {
        std::vector<uint64_t> found(kHeight);
        find(found.data(), 1, {words.data() + 1, kRowWords, kHeight, ksize}, first, end);
        std::memcpy(to, found.data(), 8 * kHeight);
      });
    }
  }
}

TEST(Kernels, FindChanges) {
  test::Random random(9);
  for (int count = 1; count < 260; ++count) {
    const Bytes row = mask_bytes(random, count);
    expect_equal((count + 63) / 64 * 8, kel::imgproc::find_changes_plain,
                 kel::imgproc::find_changes, [&](auto find, uint8_t* to) {
                   std::vector<uint64_t> bits(static_cast<size_t>((count + 63) / 64), 77);
                   find(bits.data(), row.data(), count);
                   std::memcpy(to, bits.data(), 8 * bits.size());
                 });
  }
}

// Rows of a few words, all runs up to 31 pixels.
TEST(Kernels, SpreadBits) {
  using Row = std::vector<uint64_t>;
  constexpr int kSource = 0;
  test::Random random(11);
  for (int length = 1; length < 32; ++length) {
    const int words = random.range(1, 20);
    const auto pitch = static_cast<size_t>(words + kBitsBefore + kBitsBehind);
    std::vector<Row> rows(4, Row(pitch));
    for (int i = 0; i < words; ++i) {
      const uint64_t sparse = uint64_t{1} << random.range(0, 63);
      rows[kSource][static_cast<size_t>(i + kBitsBefore)] = i % 3 == 0 ? ~sparse : sparse;
    }
    const BitRun runs[] = {{random.range(-30, 0), length}, {-length / 2, length}, {3, length / 2}};
    const int count = length < 2 ? 2 : 3;
    const auto spread = [&](bool plain, uint8_t* to) {
      Row scratch(kBitLevels * pitch);
      uint64_t* const targets[] = {rows[1].data(), rows[2].data(), rows[3].data()};
      (plain ? spread_bits_plain : spread_bits)(targets, rows[kSource].data() + kBitsBefore, words,
                                                runs, count, scratch.data());
      Row joined(pitch);
      (plain ? join_bits_plain : join_bits)(joined.data(), targets, count, words);
      for (const uint64_t* row : {rows[1].data(), rows[2].data(), joined.data()}) {
        std::memcpy(to, row, static_cast<size_t>(8 * words));
        to += 8 * words;
      }
    };
    expect_equal(3 * 8 * words, true, false, spread);
  }
}

TEST(Kernels, ExtremesOfRows) {
  test::Random random(12);
  for (size_t size = 1; size < 300; size += static_cast<size_t>(random.range(1, 9))) {
    std::vector<Bytes> rows(static_cast<size_t>(random.range(1, 30)));
    std::vector<const uint8_t*> from;
    const auto width = static_cast<int>(size);
    const int value = 255 * random.range(0, 1);
    for (Bytes& row : rows) {
      row.assign(size, static_cast<uint8_t>(value));
      row[static_cast<size_t>(random.range(0, width - 1))] = static_cast<uint8_t>(random.next());
      from.push_back(row.data());
    }
    const int words = (width + 63) / 64;
    expect_equal(16 * words, true, false, [&](bool plain, uint8_t* to) {
      std::vector<uint64_t> bits(static_cast<size_t>(2 * words), 1);
      (plain ? extremes_of_rows_plain : extremes_of_rows)(
          bits.data(), bits.data() + words, from.data(), static_cast<int32_t>(from.size()), width);
      std::memcpy(to, bits.data(), static_cast<size_t>(16 * words));
    });
  }
}

// Runs that grow on either side, in any order of the kernel's rows.
TEST(Kernels, SpreadEllipse) {
  test::Random random(13);
  for (int i = 0; i < 200; ++i) {
    std::vector<PixelRun> runs{{random.range(-2, 2), random.range(1, 3)}};
    while (runs.back().length < kLargestSmallEllipse - 6 && runs.size() < 9) {
      const int left = random.range(0, 2);
      runs.push_back({runs.back().first - left, runs.back().length + left + random.range(1, 2)});
    }
    std::vector<int32_t> run_of_row(static_cast<size_t>(random.range(1, kLargestSmallEllipse)));
    const auto count = static_cast<int32_t>(runs.size());
    for (int32_t& run : run_of_row) run = random.range(0, count - 1);
    const auto side = static_cast<int32_t>(run_of_row.size());
    const int rows = random.range(1, kSpreadRows);
    std::vector<Bytes> bytes;
    std::vector<const uint8_t*> from;
    for (int y = 0; y < rows + side - 1; ++y) bytes.push_back(mask_bytes(random, 160));
    for (const Bytes& row : bytes) from.push_back(row.data() + 32);
    for (const bool maxima : {false, true}) {
      expect_equal(
          static_cast<int>(kSpreadColumns) * rows, true, false, [&](bool plain, uint8_t* to) {
            std::vector<uint8_t*> results;
            for (int y = 0; y < rows; ++y) results.push_back(to + y * kSpreadColumns);
            (plain ? spread_ellipse_plain : spread_ellipse)(
                {results.data(), from.data(), rows, side, runs.data(), count, run_of_row.data()},
                maxima);
          });
    }
  }
}

TEST(Kernels, ScaledBrightness) {
  using kel::imgproc::BrightnessColumns;
  constexpr int kWidth = 40;
  test::Random random(10);
  for (int i = 0; i < 200; ++i) {
    const Bytes upper = mask_bytes(random, 300);
    const Bytes lower = mask_bytes(random, 300);
    BrightnessColumns columns;
    for (int x = 0; x < kWidth + BrightnessColumns::kAtOnce; ++x) {
      columns.starts.push_back(random.range(0, 292));
      const auto weight = static_cast<int16_t>(-32 * random.range(0, 1024));
      for (int k = 0; k < 8; ++k) {
        columns.places.push_back(static_cast<uint8_t>(k < 6 ? random.range(0, 7) : 0x80));
        if (k % 2 == 0) columns.weights.push_back(k < 6 ? weight : int16_t{0});
      }
    }
    const auto share = static_cast<int16_t>(random.range(0, 2048));
    const auto rest = static_cast<int16_t>(2048 - share);
    const int first = random.range(0, kWidth - 1);
    const int count = random.range(1, kWidth - first);
    expect_equal(2 * count, kel::imgproc::scaled_brightness_plain, kel::imgproc::scaled_brightness,
                 [&](auto make, uint8_t* to) {
                   std::vector<int16_t> values(static_cast<size_t>(count + 8));
                   make(values.data(), {upper.data(), lower.data(), share, rest}, columns, first,
                        count);
                   std::memcpy(to, values.data(), static_cast<size_t>(2 * count));
                 });
  }
}

// Runs with gaps in some rows of a mask, and all pixels of the middle channel of a photograph.
TEST(Kernels, MedianRunByHistograms) {
  constexpr int kWidth = 90;
  constexpr int kHeight = 30;
  test::Random random(3);
  for (const int radius : {1, 3, 8, 20, 99}) {
    const Bytes pixels = mask_bytes(random, 3 * kWidth * kHeight);
    const Bytes open = mask_bytes(random, kWidth * kHeight);
    const int columns = kWidth + 2 * radius;
    const auto filter = [&](auto median, uint8_t* to, int step) {
      std::vector<int32_t> centres(static_cast<size_t>(columns), ColumnHistograms::kNever);
      Bytes groups(static_cast<size_t>(16 * columns));
      Bytes values(16 * groups.size());
      const Channel channel{pixels.data() + step / 2, step * kWidth, kWidth, kHeight, step};
      const ColumnHistograms all{channel,        radius,        columns,      -radius,
                                 centres.data(), groups.data(), values.data()};
      for (int y = 0; y < kHeight; y += step == 3 ? 1 : 1 + y % 3) {
        const Bytes row(open.data() + y * kWidth, open.data() + (y + 1) * kWidth);
        const int last = step == 3 ? kWidth - 1 : std::min(y * 7 % kWidth + 40, kWidth - 1);
        int first = step == 3 ? 0 : y * 7 % kWidth;
        while (step == 1 && first < last && row[static_cast<size_t>(first)] == 0) ++first;
        median(all, step == 3 ? nullptr : row.data(), first, last, y, to + step * y * kWidth);
      }
    };
    for (const int step : {1, 3}) {
      expect_equal(step * kWidth * kHeight, median_run_by_histograms_plain,
                   median_run_by_histograms,
                   [&](auto median, uint8_t* to) { filter(median, to, step); });
    }
  }
}

// Rows of every length up to some vectors, and of some chunks.
TEST(Kernels, MedianByColumns) {
  test::Random random(9);
  for (int pixels = 1; pixels < 200; ++pixels) {
    const int step = pixels % 2 == 0 ? 1 : 3;
    const int width = (pixels % 20 == 0 ? 17 * pixels : pixels) * step;
    Bytes bytes = mask_bytes(random, (5 + kMedianRows - 1) * width);
    if (pixels % 3 != 0) {  // windows that are flat but for a pixel, or wholly
      std::fill(bytes.begin() + width / 4, bytes.end() - width / 4, uint8_t{255});
      bytes[static_cast<size_t>(random.range(0, static_cast<int>(bytes.size()) - 1))] = 7;
    }
    std::vector<const uint8_t*> rows;
    for (int y = 0; y < 5 + kMedianRows - 1; ++y) rows.push_back(bytes.data() + y * width);
    for (const int ksize : {3, 5}) {
      expect_equal(kMedianRows * width, median_by_columns_plain, median_by_columns,
                   [&](auto median, uint8_t* to) {
                     uint8_t* results[kMedianRows];
                     for (int y = 0; y < kMedianRows; ++y) results[y] = to + y * width;
                     median(results, rows.data(), width, step, ksize);
                   });
    }
  }
}

// Runs of every length, in rows of a few chunks that stand out from their neighbours.
TEST(Kernels, SpreadRow) {
  constexpr int kWidth = 150;
  constexpr int kChunks = 8;
  constexpr int kStride = kChunks * kSpreadChunk;
  constexpr int kLevels = 8;
  test::Random random(5);
  for (int length = 1; length < 202; ++length) {
    int level = 0;
    while (2 << level <= length) ++level;
    const int first = random.range(0, 90);
    const KernelRun run{level, first, first + length - (1 << level), 3};
    Bytes row(kStride);
    const int at = random.range(0, 5) * kSpreadChunk;
    const Bytes pixels = mask_bytes(random, 2 * kSpreadChunk);
    std::copy(pixels.begin(), pixels.end(), row.begin() + at);
    const Bytes other = mask_bytes(random, kStride);
    for (const bool maxima : {false, true}) {
      const auto spread_found = [&](bool plain, uint8_t* to) {
        Bytes tables(static_cast<size_t>(kLevels * kStride), maxima ? 0 : 255);
        const auto find = plain ? outstanding_pixels_plain : outstanding_pixels;
        const uint64_t found =
            find(tables.data(), row.data(), other.data(), row.data(), kChunks, maxima);
        std::copy_n(tables.begin(), kStride, to);
        std::copy_n(other.begin(), 2 * kWidth, to + kStride);
        uint8_t* const targets[3]{to + kStride, nullptr, to + kStride + kWidth};
        (plain ? spread_row_plain : spread_row)(
            {tables.data(), kStride, kLevels, found, kWidth, &run, 1, targets}, maxima);
        std::copy_n(tables.begin(), kStride, to + kStride + 2 * kWidth);
        std::memcpy(to + 2 * kStride + 2 * kWidth, &found, sizeof found);
      };
      expect_equal(2 * kStride + 2 * kWidth + 8, true, false, spread_found);
    }
  }
}

// Half a symmetrical kernel of random shape that adds up to 256, in multiples of `unit`.
Words random_taps(test::Random& random, int radius, int unit) {
  Words taps(static_cast<size_t>(radius + 1));
  for (int left = 128; left > 0; left -= unit) {
    uint16_t& tap = taps[static_cast<size_t>(random.range(0, radius))];
    tap = static_cast<uint16_t>(tap + unit);
  }
  taps[0] = static_cast<uint16_t>(2 * taps[0]);
  return taps;
}

// Kernels of random shape whose taps add up to 256, over sums in their whole range.
TEST(Kernels, GaussianPasses) {
  test::Random random(6);
  for (int radius = 0; radius < 100; ++radius) {
    const Words weights = random_taps(random, radius, 1);
    const GaussianTaps taps{weights.data(), radius};
    const int step = random.range(0, 1) == 0 ? 1 : 3;
    const int width = random.range(1, 300);
    const int margin = radius * step;
    const Bytes row = mask_bytes(random, 2 * margin + width + kGaussianSlack);
    expect_equal(2 * width, gaussian_along_row_plain, gaussian_along_row, [&](auto sum, auto* to) {
      std::vector<int16_t> sums(static_cast<size_t>(width + kGaussianSlack));
      sum(sums.data(), row.data() + margin, width, step, taps);
      std::memcpy(to, sums.data(), static_cast<size_t>(2 * width));
    });
    std::vector<std::vector<int16_t>> kept(static_cast<size_t>(2 * radius + kGaussianRows));
    std::vector<const int16_t*> rows;
    for (auto& sums : kept) {
      for (int x = 0; x < width; ++x) {
        sums.push_back(static_cast<int16_t>(random.range(0, 255 * 256) - kSumOffset));
      }
      rows.push_back(sums.data());
    }
    const auto blur = [&](auto sum, uint8_t* to) {
      uint8_t* const results[] = {to, to + width, to + 2 * width, to + 3 * width};
      sum(results, rows.data(), width, taps);
    };
    expect_equal(4 * width, gaussian_across_rows_plain, gaussian_across_rows, blur);
  }
}

// Areas within images and at their sides, of few and of many vectors, with taps whose sums need few
// bits or many.
TEST(Kernels, GaussianSmall) {
  test::Random random(8);
  for (int i = 0; i < 300; ++i) {
    const Words along = random_taps(random, random.range(0, kMostSmallRadius), 1 << i % 7);
    const Words across = random_taps(random, random.range(0, kMostSmallRadius), 1 << i / 7 % 7);
    SmallGaussian job{};
    job.along = {along.data(), static_cast<int32_t>(along.size()) - 1};
    job.across = {across.data(), static_cast<int32_t>(across.size()) - 1};
    job.step = i % 2 == 0 ? 1 : 3;
    const int widths[] = {random.range(kLeastSmallWidth, 200), random.range(kLeastSmallWidth, 1100),
                          1024 / job.step + random.range(-1, 4)};  // about a chunk
    job.count = widths[i / 2 % 3] * job.step;
    job.before = random.range(0, job.along.radius) * job.step;
    job.after = random.range(0, job.along.radius) * job.step;
    const int64_t pitch = job.before + job.count + job.after;
    const Bytes pixels = mask_bytes(random, static_cast<int>(10 * pitch));
    for (int y = 0; y < 10; ++y) job.rows[y] = pixels.data() + y * pitch + job.before;
    const int wanted = random.range(1, kGaussianRows);
    expect_equal(static_cast<int>(wanted * job.count), gaussian_small_plain, gaussian_small,
                 [&](auto blur, uint8_t* to) {
                   for (int y = 0; y < wanted; ++y) job.results[y] = to + y * job.count;
                   blur(job);
                 });
  }
}

TEST(Kernels, MeanPasses) {
  test::Random random(7);
  for (int ksize = 3; ksize < 200; ksize += 2) {
    const int step = random.range(0, 1) == 0 ? 1 : 3;
    const int pixels = random.range(1, 90);
    const int count = (ksize + pixels + 1) * step;
    const Bytes rows = mask_bytes(random, 2 * kMeanRows * count);
    const uint8_t* entering[kMeanRows];
    const uint8_t* leaving[kMeanRows];
    for (int i = 0; i < kMeanRows; ++i) {
      entering[i] = rows.data() + i * count;
      leaving[i] = entering[i] + kMeanRows * count;
    }
    Words columns(static_cast<size_t>(kMeanRows * count));
    const auto slide = [&](auto down, uint8_t* to) {
      Words sums(static_cast<size_t>(count), static_cast<uint16_t>(255 * ksize / 2));
      down(columns.data(), sums.data(), entering, leaving, count);
      std::memcpy(to, columns.data(), 2 * columns.size());
    };
    expect_equal(2 * kMeanRows * count, slide_down_plain, slide_down, slide);
    for (uint16_t& sum : columns) sum = static_cast<uint16_t>(random.range(0, 255 * ksize));
    std::fill_n(columns.begin(), ksize * step * kMeanRows, uint16_t{0});
    const int made = (pixels + 1) / 2 * 2 * step * kMeanRows;
    const int64_t single = random.range(-5, pixels * step + 5);
    expect_equal(made, mean_along_plain, mean_along, [&](auto along, uint8_t* to) {
      WindowSums sums{};
      const uint16_t* first = columns.data() + ksize * step * kMeanRows;
      auto* means = reinterpret_cast<uint8_t(*)[kMeanRows][2]>(to);
      along(sums, MeanAlong{means, first, pixels, single, ksize, step});
    });
  }
}

// Sums just above or below a half, whose quotient single precision rounds to the other side.
TEST(Kernels, MeansThatSinglePrecisionMisses) {
  int missed = 0;
  for (int ksize = 17; ksize < 200; ksize += 2) {
    const int area = ksize * ksize;
    for (int i = 0; i < 2 * 255; ++i) {
      const int sum = i / 2 * area + area / 2 + i % 2;
      const int exact = (sum + area / 2) / area;
      const float reciprocal = 1.0F / static_cast<float>(area);
      if (std::lrint(static_cast<float>(sum) * reciprocal) == exact) continue;
      ++missed;
      constexpr int kColumn = 60000;
      const int pixel = sum / kColumn;
      Words columns(size_t{kMeanRows} * static_cast<size_t>(ksize + pixel + 2));
      uint16_t* const first = columns.data() + ksize * kMeanRows;
      std::fill_n(first, pixel * kMeanRows, uint16_t{kColumn});
      std::fill_n(first + pixel * kMeanRows, kMeanRows, static_cast<uint16_t>(sum % kColumn));
      for (const int single : {0, pixel, pixel + 1, 1000}) {
        const auto run = [&](auto along, uint8_t* to) {
          WindowSums sums{};
          auto* means = reinterpret_cast<uint8_t(*)[kMeanRows][2]>(to);
          along(sums, MeanAlong{means, first, pixel + 1, single, ksize, 1});
          ASSERT_EQ(means[pixel / 2][0][pixel % 2] == exact, single <= pixel);
        };
        expect_equal((pixel + 2) * kMeanRows, mean_along_plain, mean_along, run);
      }
    }
  }
  EXPECT_GT(missed, 10);
}

// Small differences, whose weights fit in registers, and any; the last block is not full.
TEST(Kernels, Bilateral) {
  constexpr int kPitch = 160;
  constexpr int kCount = 103;  // a block of 64 and some of 16
  constexpr int kRows = 5;
  test::Random random(14);
  const auto weight = [&] { return static_cast<float>(random.range(1, 1000)) / 1000.0F; };
  for (const uint8_t most : Bytes{20, 45, 255}) {
    Bytes planes(size_t{3} * kRows * kPitch);
    for (uint8_t& byte : planes) byte = static_cast<uint8_t>(random.range(0, most));
    const uint8_t* const middle = planes.data() + 2 * kPitch + 2;
    std::vector<int32_t> offsets;
    std::vector<int32_t> ends;
    std::vector<float> places;
    std::vector<float> colours(size_t{3} * 256);
    for (float& colour : colours) colour = kWeightScale * weight();
    for (int y = -2; y <= 2; ++y) {
      for (int x = -2; x <= 2; ++x) {
        offsets.push_back(y * kPitch + x);
        places.push_back(weight());
      }
      ends.push_back(static_cast<int32_t>(offsets.size()));
    }
    const BilateralTaps taps{offsets.data(), places.data(),  ends.data(), kRows,
                             colours.data(), kRows * kPitch, false};
    const Bytes least(size_t{8} * kRows, 0);
    const Bytes greatest(size_t{8} * kRows, most);
    const BilateralRanges ranges{least.data(), greatest.data(), 8, greatest.data()};
    for (const int channels : {1, 3}) {
      for (const BilateralOrder order : {BilateralOrder::kInTurn, BilateralOrder::kByFours}) {
        Bytes expected(size_t{3} * kPitch);
        bilateral_plain(expected.data(), middle, kCount, channels, order, taps);
        test::on_every_target([&] {
          Bytes result(size_t{3} * kPitch);
          bilateral(result.data(), middle, kCount, channels, order, taps, ranges);
          EXPECT_EQ(result, expected) << channels << " channels, differences up to " << int{most};
        });
      }
    }
  }
}

TEST(Kernels, FindRanges) {
  test::Random random(15);
  for (const int width : {1, 2, 5, 8, 19}) {
    const int cells = random.range(1, 70);
    const Bytes row = mask_bytes(random, kCell * (cells + width) + kRangeSlack);
    const auto find = [&](auto function) {
      Bytes both(static_cast<size_t>(2 * (cells + width + kRangeSlack)));
      uint8_t* const greatest = both.data() + both.size() / 2;
      function(CellRanges{both.data(), greatest, row.data(), cells, width});
      Bytes found(both.data(), both.data() + cells);
      found.insert(found.end(), greatest, greatest + cells);
      return found;
    };
    const Bytes expected = find(find_ranges_plain);
    test::on_every_target([&] { EXPECT_EQ(find(find_ranges), expected) << width; });
  }
}

}  // namespace
