// Vector kernels against the plain loops that define them, on every instruction set. Kernels that
// move or average pixels use theirs where there are no vectors, and the tests of turns and
// conversions compare both with OpenCV.
#include <gtest/gtest.h>

#include <algorithm>

#include "core/kernels/count_row.h"
#include "core/kernels/decide_row.h"
#include "core/kernels/median_row_by_network.h"
#include "core/kernels/median_run_by_histograms.h"
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

TEST(Kernels, MedianRunByHistograms) {
  constexpr int kWidth = 90;
  constexpr int kHeight = 30;
  test::Random random(3);
  for (const int radius : {1, 3, 8, 20, 99}) {
    Bytes pixels = mask_bytes(random, kWidth * kHeight);
    const Plane plane(pixels.data(), kWidth, kHeight, kWidth);
    const Bytes open = mask_bytes(random, kWidth * kHeight);
    const int columns = kWidth + 2 * radius;
    const auto filter = [&](auto median, uint8_t* to) {
      std::vector<int32_t> centres(static_cast<size_t>(columns), ColumnHistograms::kNever);
      Bytes groups(static_cast<size_t>(16 * columns));
      Bytes values(16 * groups.size());
      const ColumnHistograms all{&plane,         radius,        columns,      -radius,
                                 centres.data(), groups.data(), values.data()};
      for (int y = 0; y < kHeight; y += 1 + y % 3) {
        const int first = y * 7 % kWidth;
        const int row = y * kWidth;
        median(all, open.data() + row, first, std::min(first + 40, kWidth - 1), y, to + row);
      }
    };
    expect_equal(kWidth * kHeight, median_run_by_histograms_plain, median_run_by_histograms,
                 filter);
  }
}

TEST(Kernels, MedianRowByNetwork) {
  constexpr int kHeight = 20;
  test::Random random(4);
  for (int width = kNetworkChunk + 4; width < 3 * kNetworkChunk; width += 7) {
    const Bytes pixels = mask_bytes(random, width * kHeight);
    for (const int ksize : {3, 5}) {
      const auto filter = [&](auto median, uint8_t* to) {
        Bytes runs(3);
        for (int y = 1 - ksize; y < kHeight; ++y) {
          NetworkRow row{{}, width, runs.data(), y < 0 ? nullptr : to + y * width};
          for (int i = 0; i < ksize; ++i) {
            row.rows[i] = pixels.data() + std::clamp(y - ksize / 2 + i, 0, kHeight - 1) * width;
          }
          median(row, ksize);
        }
      };
      expect_equal(width * kHeight, median_row_by_network_plain, median_row_by_network, filter);
    }
  }
}

// Runs of every length, each to an even number of rows, some of which are not wanted.
TEST(Kernels, SpreadRow) {
  constexpr int kWidth = 128;
  constexpr int kStride = kWidth + 4 * kVector;
  constexpr int kLevels = 7;
  test::Random random(5);
  for (int length = 1; length < 128; ++length) {
    int level = 0;
    while (2 << level <= length) ++level;
    const int first = random.range(0, 40);
    const KernelRun run{level, first, first + length - (1 << level), 4};
    const Bytes row = mask_bytes(random, kStride);
    for (const bool maxima : {false, true}) {
      expect_equal(4 * kWidth, spread_row_plain, spread_row, [&](auto spread, uint8_t* to) {
        alignas(64) uint8_t rows[5][kWidth];
        for (auto& target : rows) std::copy_n(row.rbegin() + length, kWidth, target);
        Bytes tables(static_cast<size_t>(kLevels * kStride));
        std::copy(row.begin(), row.end(), tables.begin());
        uint8_t* const targets[4]{rows[0], nullptr, length % 2 == 0 ? nullptr : rows[1], rows[2]};
        spread(RowSpread{tables.data(), kStride, kLevels, kWidth, &run, 1, targets, rows[4]},
               maxima);
        std::copy_n(rows[0], 4 * kWidth, to);
      });
    }
  }
}

}  // namespace
