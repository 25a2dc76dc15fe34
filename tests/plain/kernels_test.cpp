// The vector kernels against their plain loops, on every instruction set of this processor.
#include <gtest/gtest.h>
#include <hwy/targets.h>

#include <algorithm>
#include <cstring>
#include <functional>

#include "core/gray_rows.h"
#include "core/turn.h"
#include "support/test_image.h"

namespace {

using namespace kel::imageprocess;
using test::GuardedBytes;

// Runs `call(kernel's destination, plain loop's destination)` on each set; they must agree.
void expect_equal_on_every_target(size_t size,
                                  const std::function<void(uint8_t*, uint8_t*)>& call) {
  for (const int64_t target : hwy::SupportedAndGeneratedTargets()) {
    hwy::SetSupportedTargetsForTest(target);
    GuardedBytes fast(size);
    GuardedBytes plain(size);
    call(fast.data(), plain.data());
    ASSERT_EQ(std::memcmp(fast.data(), plain.data(), size), 0) << hwy::TargetName(target);
  }
  hwy::SetSupportedTargetsForTest(0);
}

const uint8_t* random_bytes(GuardedBytes& bytes) {
  test::Random random(bytes.size());
  for (size_t i = 0; i < bytes.size(); ++i) bytes.data()[i] = static_cast<uint8_t>(random.next());
  return bytes.data();
}

TEST(Kernels, TurnsAgreeWithPlainLoops) {
  std::vector<test::Shape> shapes = test::kShapes;
  shapes.insert(shapes.end(), {{130, 530}, {16, 1100}, {8, 16}, {7, 16}, {8, 15}, {700, 33}});
  for (int bytes = 1; bytes <= 4; ++bytes) {
    for (const auto& [width, height] : shapes) {
      const auto size = static_cast<size_t>(width * height * bytes);
      GuardedBytes memory(size);
      const uint8_t* src = random_bytes(memory);
      const ptrdiff_t row = ptrdiff_t{width} * bytes;
      const ptrdiff_t turned_row = ptrdiff_t{height} * bytes;
      expect_equal_on_every_target(size, [&, w = width, h = height](uint8_t* fast, uint8_t* plain) {
        transpose(fast, turned_row, src + (h - 1) * row, -row, w, h, bytes);
        transpose_plain(plain, turned_row, src + (h - 1) * row, -row, w, h, bytes);
      });
      expect_equal_on_every_target(size, [&, w = width, h = height](uint8_t* fast, uint8_t* plain) {
        reverse_row(fast, src, ptrdiff_t{w} * h, bytes);
        reverse_row_plain(plain, src, ptrdiff_t{w} * h, bytes);
      });
    }
  }
}

TEST(Kernels, GrayRowsAgreeWithPlainLoops) {
  for (const int bytes : {3, 4}) {
    for (int count = 1; count < 200; ++count) {
      GuardedBytes memory(static_cast<size_t>(count * bytes));
      const uint8_t* colour = random_bytes(memory);
      GuardedBytes gray_memory(static_cast<size_t>(count));
      const uint8_t* gray = random_bytes(gray_memory);
      expect_equal_on_every_target(gray_memory.size(), [&](uint8_t* fast, uint8_t* plain) {
        gray_from_colour_row(fast, colour, count, bytes);
        gray_from_colour_row_plain(plain, colour, count, bytes);
      });
      expect_equal_on_every_target(memory.size(), [&](uint8_t* fast, uint8_t* plain) {
        colour_from_gray_row(fast, gray, count, bytes);
        colour_from_gray_row_plain(plain, gray, count, bytes);
      });
    }
  }
}

// Every sum of three bytes, in an image long enough for vectors.
TEST(Kernels, DivisionByThreeIsExact) {
  std::vector<uint8_t> colour;
  std::vector<uint8_t> expected;
  for (int sum = 0; sum <= 765; ++sum) {
    const int a = std::min(sum, 255);
    const int b = std::min(sum - a, 255);
    for (const int byte : {b, sum - a - b, a}) colour.push_back(static_cast<uint8_t>(byte));
    expected.push_back(static_cast<uint8_t>(sum / 3));
  }
  std::vector<uint8_t> gray(expected.size());
  gray_from_colour_row(gray.data(), colour.data(), static_cast<int64_t>(gray.size()), 3);
  EXPECT_EQ(gray, expected);
}

}  // namespace
