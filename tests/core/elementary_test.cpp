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

}  // namespace
