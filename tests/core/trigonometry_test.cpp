// Against the C library that defines the last bits, where it is at work, and against its wider
// types everywhere.
#include "core/trigonometry.h"

#include <gtest/gtest.h>

#include <bit>
#include <cmath>

#include "support/test_image.h"

namespace {

bool defines_the_bits() {
#if defined(__x86_64__) && defined(__GLIBC__)
  return __builtin_cpu_supports("fma") && __builtin_cpu_supports("avx2");
#else
  return false;
#endif
}

// The last place of doubles like this one.
long double last_place(double value) {
  return std::ldexp(1.0L, std::max(std::ilogb(value), -1022) - 52);
}

void expect_near(double value, long double exact, const char* function, double y, double x) {
  ASSERT_LE(std::abs(value - exact), 0.57L * last_place(value)) << function << ' ' << y << ' ' << x;
}

void expect_same(double value, double library, const char* function, double y, double x) {
  if (!defines_the_bits()) return;
  ASSERT_EQ(std::bit_cast<uint64_t>(value), std::bit_cast<uint64_t>(library))
      << function << ' ' << y << ' ' << x;
}

void expect_functions_of(double y, double x) {
  const double angle = kel::angle_of(y, x);
  const double sine = kel::sine_of(angle);
  const double cosine = kel::cosine_of(angle);
  expect_same(angle, std::atan2(y, x), "atan2", y, x);
  expect_same(sine, std::sin(angle), "sin", y, x);
  expect_same(cosine, std::cos(angle), "cos", y, x);
  if constexpr (sizeof(long double) == sizeof(double)) return;
  const auto exact = static_cast<long double>(angle);
  expect_near(angle, std::atan2(static_cast<long double>(y), static_cast<long double>(x)), "atan2",
              y, x);
  expect_near(sine, std::sin(exact), "sin", y, x);
  expect_near(cosine, std::cos(exact), "cos", y, x);
}

TEST(Trigonometry, AxesAndFarPoints) {
  constexpr double kNumbers[] = {0.0, 1.0, 5.0, 1e-30, 0x1p-56, 0x1p-57, 0x1p-58, 1e9};
  for (const double y : kNumbers) {
    for (const double x : kNumbers) {
      for (const double sign : {-1.0, 1.0}) {
        expect_functions_of(y * sign, x);
        expect_functions_of(y * sign, -x);
      }
    }
  }
}

// Where it shows whether a product is rounded before it is added.
TEST(Trigonometry, HardPoints) {
  expect_functions_of(0x1.5a6p+11, 0x1.65b6db6db6db7p+6);
  expect_functions_of(0x1.a0ep+11, -0x1.7ep+7);
  expect_functions_of(-0x1.6e231d26c3bf6p+11, 0x1.de7ebf45464p+6);
  expect_functions_of(-0x1.bd328214fc515p+10, -0x1.b922285824b2p+6);
}

// Distances between pixels, from pixels to centroids, and of all sizes.
TEST(Trigonometry, RandomPoints) {
  test::Random random(1);
  const auto number = [&](int kind) {
    const double whole = random.range(-4000, 4000);
    if (kind == 0) return whole;
    const double fraction = whole + random.range(1, 1 << 30) / static_cast<double>(1 << 30);
    return kind == 1 ? fraction : std::ldexp(fraction, -random.range(0, 60));
  };
  for (int i = 0; i < 600000; ++i) {
    const double y = number(i % 3);
    expect_functions_of(y, number(i % 3));
  }
}

}  // namespace
