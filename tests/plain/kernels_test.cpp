// The vector kernels against their plain loops, on every instruction set of this processor.
#include <gtest/gtest.h>
#include <hwy/targets.h>

#include <functional>

#include "core/gray_rows.h"
#include "core/turn.h"
#include "support/test_image.h"

namespace {

using namespace kel::imageprocess;
using test::TestImage;

// A row of random bytes between guards.
TestImage bytes(int64_t size) { return {QX_FMT_GRAY, static_cast<int>(size), 1}; }

// Runs `call(kernel's destination, plain loop's destination)` on each set; they must agree.
void expect_equal(int64_t size, const std::function<void(uint8_t*, uint8_t*)>& call) {
  for (const int64_t target : hwy::SupportedAndGeneratedTargets()) {
    hwy::SetSupportedTargetsForTest(target);
    TestImage fast = bytes(size);
    TestImage plain = bytes(size);
    call(fast.row(0), plain.row(0));
    ASSERT_TRUE(fast == plain) << hwy::TargetName(target) << ' ' << size;
  }
  hwy::SetSupportedTargetsForTest(0);
}

TEST(Kernels, TurnsAgreeWithPlainLoops) {
  std::vector<test::Shape> shapes = test::kShapes;
  shapes.insert(shapes.end(), {{130, 530}, {16, 1100}, {8, 16}, {7, 16}, {8, 15}, {700, 33}});
  for (const auto& [w, h] : shapes) {
    for (int size = 1; size <= 4; ++size) {
      const int64_t row = int64_t{w} * size;
      const TestImage src = bytes(row * h);
      const uint8_t* last = src.row(0) + (h - 1) * row;
      expect_equal(row * h, [&, w = w, h = h](uint8_t* fast, uint8_t* plain) {
        transpose(fast, int64_t{h} * size, last, -row, w, h, size);
        transpose_plain(plain, int64_t{h} * size, last, -row, w, h, size);
      });
      expect_equal(row * h, [&, count = int64_t{w} * h](uint8_t* fast, uint8_t* plain) {
        reverse_row(fast, src.row(0), count, size);
        reverse_row_plain(plain, src.row(0), count, size);
      });
    }
  }
}

TEST(Kernels, GrayRowsAgreeWithPlainLoops) {
  for (const int size : {3, 4}) {
    for (int count = 1; count < 200; ++count) {
      const TestImage gray = bytes(count);
      TestImage colour = bytes(int64_t{count} * size);
      for (int i = 0; i < count * size; ++i) {  // all sums of three bytes, in turn
        const int sum = (count * 7 + i / size) % 766;
        if (i % size < 3) colour.row(0)[i] = static_cast<uint8_t>((sum + i % size) / 3);
      }
      expect_equal(count, [&](uint8_t* fast, uint8_t* plain) {
        gray_from_colour_row(fast, colour.row(0), count, size);
        gray_from_colour_row_plain(plain, colour.row(0), count, size);
      });
      expect_equal(int64_t{count} * size, [&](uint8_t* fast, uint8_t* plain) {
        colour_from_gray_row(fast, gray.row(0), count, size);
        colour_from_gray_row_plain(plain, gray.row(0), count, size);
      });
    }
  }
}

}  // namespace
