// Vector kernels against the plain loops that define them, on every instruction set.
#include <gtest/gtest.h>

#include <algorithm>

#include "core/kernels/count_row.h"
#include "core/kernels/decide_row.h"
#include "core/kernels/gray_from_colour_row.h"
#include "core/kernels/median_row_by_network.h"
#include "core/kernels/median_run_by_histograms.h"
#include "core/kernels/reverse_row.h"
#include "core/kernels/spread_row.h"
#include "core/kernels/transpose.h"
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

// Calls run(bytes to fill) with the plain loop once and with the kernel on every target.
template <typename Plain, typename Kernel>
void expect_equal(int size, Plain plain, Kernel kernel) {
  Bytes expected(static_cast<size_t>(size), 77);
  plain(expected.data());
  test::on_every_target([&] {
    Bytes result(static_cast<size_t>(size + kVector), 77);
    kernel(result.data());
    result.resize(expected.size());
    ASSERT_EQ(result, expected) << size << " bytes";
  });
}

TEST(Kernels, RowsOfElements) {
  test::Random random(1);
  for (int count = 0; count < 150; ++count) {
    const Bytes src = mask_bytes(random, 4 * 150);
    for (int size = 1; size <= 4; ++size) {
      expect_equal(
          count * size, [&](uint8_t* to) { reverse_row_plain(to, src.data(), count, size); },
          [&](uint8_t* to) { reverse_row(to, src.data(), count, size); });
      if (size < 3) continue;
      expect_equal(
          count, [&](uint8_t* to) { gray_from_colour_row_plain(to, src.data(), count, size); },
          [&](uint8_t* to) { gray_from_colour_row(to, src.data(), count, size); });
    }
  }
}

TEST(Kernels, Transpose) {
  test::Random random(2);
  for (int draw = 0; draw < 60; ++draw) {
    const int width = random.range(1, 90);
    const int height = random.range(1, 90);
    const Bytes src = mask_bytes(random, 4 * width * height);
    for (int size = 1; size <= 4; ++size) {
      const int from = size * width;
      const int to = size * height;
      expect_equal(
          to * width,
          [&](uint8_t* d) { transpose_plain(d, to, src.data(), from, width, height, size); },
          [&](uint8_t* d) { transpose(d, to, src.data(), from, width, height, size); });
    }
  }
}

TEST(Kernels, CountRow) {
  test::Random random(3);
  for (int ksize = 1; ksize < 200; ksize += 2) {
    const int width = random.range(1, 300);
    const Bytes row = mask_bytes(random, width + ksize + kVector);
    Bytes scratch(row.size());
    for (const uint8_t value : {uint8_t{0}, uint8_t{255}, row[0]}) {
      expect_equal(
          width, [&](uint8_t* to) { count_row_plain(to, row.data(), width, ksize, value); },
          [&](uint8_t* to) { count_row(to, row.data(), width, ksize, value, scratch.data()); });
    }
  }
}

TEST(Kernels, DecideRow) {
  test::Random random(4);
  for (int width = 1; width < 140; ++width) {
    const Bytes rows = mask_bytes(random, 4 * (width + kVector));
    Words start(rows.size() / 2);
    for (uint16_t& sum : start) sum = static_cast<uint16_t>(random.range(255, 900));
    for (const bool counts_zeros : {false, true}) {
      // Of each pixel: result, open and both sums.
      const auto decide = [&](auto kernel, uint8_t* to) {
        const auto at = [&](int row) { return rows.data() + row * (width + kVector); };
        Words fulls(start);
        Words zeros(start.rbegin(), start.rend());
        Bytes result(rows.size());
        Bytes open(rows.size());
        kernel(RowDecision{width,
                           500,
                           {counts_zeros ? zeros.data() : nullptr, at(0), at(1)},
                           {fulls.data(), at(2), at(3)},
                           result.data(),
                           open.data()});
        for (int x = 0; x < width; ++x) {
          const auto i = static_cast<size_t>(x);
          for (const int value : {int{result[i]}, int{open[i]}, fulls[i] % 251, zeros[i] % 251}) {
            *to++ = static_cast<uint8_t>(value);
          }
        }
      };
      expect_equal(
          4 * width, [&](uint8_t* to) { decide(decide_row_plain, to); },
          [&](uint8_t* to) { decide(decide_row, to); });
    }
  }
}

TEST(Kernels, MedianRunByHistograms) {
  constexpr int kWidth = 90;
  constexpr int kHeight = 30;
  test::Random random(5);
  for (const int radius : {1, 3, 8, 20, 99}) {
    Bytes pixels = mask_bytes(random, kWidth * kHeight);
    const Plane plane(pixels.data(), kWidth, kHeight, kWidth);
    const Bytes open = mask_bytes(random, kWidth * kHeight);
    const int columns = kWidth + 2 * radius;
    const auto filter = [&](auto kernel, uint8_t* to) {
      std::vector<int32_t> centres(static_cast<size_t>(columns), ColumnHistograms::kNever);
      Bytes groups(static_cast<size_t>(16 * columns));
      Bytes values(16 * groups.size());
      const ColumnHistograms all{&plane,         radius,        columns,      -radius,
                                 centres.data(), groups.data(), values.data()};
      for (int y = 0; y < kHeight; y += 1 + y % 3) {
        const int first = y * 7 % kWidth;
        kernel(all, open.data() + y * kWidth, first, std::min(first + 40, kWidth - 1), y,
               to + y * kWidth);
      }
    };
    expect_equal(
        kWidth * kHeight, [&](uint8_t* to) { filter(median_run_by_histograms_plain, to); },
        [&](uint8_t* to) { filter(median_run_by_histograms, to); });
  }
}

TEST(Kernels, MedianRowByNetwork) {
  constexpr int kHeight = 20;
  test::Random random(6);
  for (int width = kNetworkChunk + 4; width < 3 * kNetworkChunk; width += 7) {
    const Bytes pixels = mask_bytes(random, width * kHeight);
    for (const int ksize : {3, 5}) {
      const auto filter = [&](auto kernel, uint8_t* to) {
        Bytes runs(3);
        for (int y = 1 - ksize; y < kHeight; ++y) {
          NetworkRow row{{}, width, runs.data(), y < 0 ? nullptr : to + y * width};
          for (int i = 0; i < ksize; ++i) {
            const int from = std::clamp(y - ksize / 2 + i, 0, kHeight - 1);
            row.rows[i] = pixels.data() + from * width;
          }
          kernel(row, ksize);
        }
      };
      expect_equal(
          width * kHeight, [&](uint8_t* to) { filter(median_row_by_network_plain, to); },
          [&](uint8_t* to) { filter(median_row_by_network, to); });
    }
  }
}

// Runs of every length, each to an even number of rows, some of which are not wanted.
TEST(Kernels, SpreadRow) {
  constexpr int kWidth = 128;
  constexpr int kStride = kWidth + 4 * kVector;
  constexpr int kLevels = 7;
  test::Random random(7);
  for (int length = 1; length < 128; ++length) {
    int level = 0;
    while (2 << level <= length) ++level;
    const int first = random.range(0, 40);
    const KernelRun run{level, first, first + length - (1 << level), 4};
    const Bytes row = mask_bytes(random, kStride);
    for (const bool maxima : {false, true}) {
      const auto spread = [&](auto kernel, uint8_t* to) {
        alignas(64) uint8_t rows[5][kWidth];
        for (auto& target : rows) std::copy_n(row.rbegin() + length, kWidth, target);
        Bytes tables(static_cast<size_t>(kLevels * kStride));
        std::copy(row.begin(), row.end(), tables.begin());
        uint8_t* const targets[4]{rows[0], nullptr, length % 2 == 0 ? nullptr : rows[1], rows[2]};
        kernel(RowSpread{tables.data(), kStride, kLevels, kWidth, &run, 1, targets, rows[4]});
        std::copy_n(rows[0], 4 * kWidth, to);
      };
      expect_equal(
          4 * kWidth,
          [&](uint8_t* to) { spread([&](const auto& r) { spread_row_plain(r, maxima); }, to); },
          [&](uint8_t* to) { spread(maxima ? spread_maxima : spread_minima, to); });
    }
  }
}

}  // namespace
