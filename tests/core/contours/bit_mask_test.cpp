// Bits of rows and their runs against single pixels.
#include "core/contours/bit_mask.h"

#include <gtest/gtest.h>

#include "core/kernels/bits_of_row.h"
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
