// Against the C library's wider types.
#include "core/elementary.h"

#include <gtest/gtest.h>

#include <cmath>

#include "support/test_image.h"

namespace {

TEST(Elementary, ExpOfNegative) {
  test::Random random(1);
  for (int i = 0; i < 1000000; ++i) {
    // Weights of filters, and numbers of all sizes down to where results vanish.
    const double sigma = random.range(1, 1 << random.range(1, 20));
    const double square = std::pow(random.range(0, 765), 2);
    const double x =
        i % 2 == 0 ? square * (-0.5 / (sigma * sigma)) : -random.range(0, 1 << 30) / 1e7;
    ASSERT_EQ(kel::exp_of_negative(x), static_cast<float>(std::exp(static_cast<long double>(x))))
        << x;
  }
}

// Next to the middle between two floats, where double precision does not decide.
TEST(Elementary, ExpThatIsHardToRound) {
  for (const double x : {-0x1p-25, -0x1.fffffffffffffp-26, -0x1.7f811f4051423p-16,
                         -0x1.c5bc90982d2acp-13, -0x1.8fa2fb4e03c3ap-11}) {
    EXPECT_EQ(kel::exp_of_negative(x), static_cast<float>(std::exp(static_cast<long double>(x))))
        << x;
  }
  test::Random random(2);
  for (int i = 0; i < 100000; ++i) {
    const auto odd = static_cast<long double>(2 * random.range(1 << 23, (1 << 24) - 1) + 1);
    const long double middle = std::ldexp(odd, -24 - random.range(1, 126));
    const auto x = static_cast<double>(std::log(middle));
    const long double exact = std::exp(static_cast<long double>(x));
    if (std::fabs(exact / middle - 1) < 0x1p-60L) continue;  // not exact enough
    ASSERT_EQ(kel::exp_of_negative(x), static_cast<float>(exact)) << x;
  }
}

}  // namespace
