// Bits of rows and their runs against single pixels.
#include "core/contours/bit_mask.h"

#include <gtest/gtest.h>

#include "core/kernels/bits_of_row.h"
#include "core/kernels/grow_rows.h"
#include "support/targets.h"
#include "support/test_image.h"

namespace {

using namespace kel::imageprocess;

TEST(BitsOfRow, AsThePlainLoopsOnEveryTarget) {
  for (int width = 1; width < 300; ++width) {
    const test::TestImage row(QX_FMT_GRAY, width, 1);
    const auto words = static_cast<size_t>(width + 63) / 64;
    std::vector<uint64_t> expected(words, 1), bits(words, 2);
    const auto level = static_cast<uint8_t>(width);
    bits_above_plain(expected.data(), row.row(0), width, level);
    test::TestImage bytes(QX_FMT_GRAY, width, 1);
    test::TestImage expected_bytes = row.clone();
    for (int x = 0; x < width; ++x) expected_bytes.row(0)[x] = row.row(0)[x] > level ? 255 : 0;
    test::on_every_target([&] {
      bits_above(bits.data(), row.row(0), width, level);
      ASSERT_EQ(bits, expected) << width;
      bytes_of_bits(bytes.row(0), bits.data(), width);
      ASSERT_TRUE(bytes == expected_bytes) << width;
    });
    bytes_of_bits_plain(bytes.row(0), bits.data(), width);
    ASSERT_TRUE(bytes == expected_bytes) << width;
  }
}

TEST(GrowRows, AsThePlainLoopOnEveryTarget) {
  test::Random random(2);
  for (int64_t words = 1; words < 20; ++words) {
    std::vector<uint64_t> from(66), expected(from), to(from), others(from);
    for (auto* const row : {&from, &others}) {
      for (uint64_t& word : *row)
        word =
            (uint64_t{random.next()} << 32 | random.next()) & uint64_t{random.next()} * 0x100000001;
    }
    const std::vector<const uint64_t*> a{others.data(), &others[7], &others[40]};
    const std::vector<const uint64_t*> b{&others[20], &others[3], &others[21]};
    const WordRows rows{1, 1 + words, 22, 3};
    grow_rows_plain(expected.data(), from.data(), rows, a.data(), b.data());
    for (int x = 1; x + 1 < words * 64; ++x) {
      const auto is_set = [&](const uint64_t* row, int at) {
        return row[1 + at / 64] >> at % 64 & 1;
      };
      const bool is_grown =
          is_set(&from[22], x - 1) || is_set(&from[22], x) || is_set(&from[22], x + 1);
      ASSERT_EQ(is_set(&expected[22], x), is_grown || is_set(a[1], x) || is_set(b[1], x)) << x;
    }
    test::on_every_target([&] {
      std::fill(to.begin(), to.end(), 0);
      grow_rows(to.data(), from.data(), rows, a.data(), b.data());
      ASSERT_EQ(to, expected) << words;
    });
  }
}

TEST(BitMask, SpansAndRuns) {
  test::Random random(1);
  for (int round = 0; round < 3000; ++round) {
    const int width = random.range(1, 700);
    kel::BitMask mask(width, 3);
    std::vector<bool> expected(static_cast<size_t>(width) + 1), found(expected);
    for (int i = random.range(0, 6); i > 0; --i) {
      const int begin = random.range(-70, width + 70);
      const int end = begin + random.range(-9, round % 2 == 0 ? 9 : 500);
      mask.set_span(1, begin, end);
      for (int x = std::max(begin, 0); x < std::min(end, width); ++x) {
        expected[static_cast<size_t>(x)] = true;
      }
    }
    int last = -1;
    mask.for_each_run(1, [&](int begin, int end) {
      EXPECT_TRUE(begin > last && begin < end && end <= width);
      std::fill(found.begin() + begin, found.begin() + end, true);
      last = end;
    });
    ASSERT_EQ(found, expected);
    cv::Mat bytes(3, width, CV_8UC1, cv::Scalar(7));
    mask.write(bytes);
    for (int x = 0; x < width; ++x) {
      ASSERT_EQ(bytes.at<uint8_t>(1, x), expected[static_cast<size_t>(x)] ? 255 : 0) << x;
    }
    mask.for_each_run(0, [](int, int) { FAIL(); });
    mask.for_each_run(2, [](int, int) { FAIL(); });
  }
}

}  // namespace
