#include "core/elementary.h"

#include <array>
#include <bit>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <limits>

namespace kel {
namespace {

// A sum of two doubles, high being the sum rounded; after T. J. Dekker, "A floating-point technique
// for extending the available precision", 1971. Each operation has an error below 2^-102.
struct TwoDoubles {
  double high;
  double low = 0.0;
};

TwoDoubles exact_sum(double a, double b) {
  const double sum = a + b;
  const double of_b = sum - a;
  return {sum, (a - (sum - of_b)) + (b - of_b)};
}

TwoDoubles exact_product(double a, double b) {
  const double product = a * b;
  return {product, std::fma(a, b, -product)};
}

TwoDoubles operator+(TwoDoubles a, TwoDoubles b) {
  const TwoDoubles high = exact_sum(a.high, b.high);
  const TwoDoubles low = exact_sum(a.low, b.low);
  const TwoDoubles sum = exact_sum(high.high, high.low + low.high);
  return exact_sum(sum.high, sum.low + low.low);
}

TwoDoubles operator*(TwoDoubles a, TwoDoubles b) {
  const TwoDoubles product = exact_product(a.high, b.high);
  return exact_sum(product.high, product.low + (a.high * b.low + a.low * b.high));
}

TwoDoubles operator/(TwoDoubles a, double b) {
  const double quotient = a.high / b;
  const TwoDoubles back = exact_product(quotient, b);
  return exact_sum(quotient, ((a.high - back.high) - back.low + a.low) / b);
}

// Rounds once: `high` is first moved off an even number towards what it lacks, so that it cannot be
// taken for a midpoint.
float to_single(TwoDoubles value) {
  double high = value.high;
  if (value.low != 0.0 && std::bit_cast<uint64_t>(high) % 2 == 0) {
    constexpr double kInfinity = std::numeric_limits<double>::infinity();
    high = std::nextafter(high, value.low > 0.0 ? kInfinity : -kInfinity);
  }
  return static_cast<float>(high);
}

// The natural logarithm of 2 in parts; the first, times a power's exponent, is exact.
constexpr double kLog2[] = {0x1.62e42feep-1, 0x1.a39ef35793c76p-33, 0x1.cc01f97b57a08p-87};

// Taylor's series for |x| < 0.36; the first term left out is below 2^-120.
TwoDoubles precise_exp(TwoDoubles x) {
  TwoDoubles sum{1.0};
  for (int i = 25; i > 0; --i) sum = TwoDoubles{1.0} + x * sum / i;
  return sum;
}

// Factors of the first terms: 1 / 14!, 1 / 13!, ..., 1 / 0!
constexpr std::array<double, 15> kFactors = [] {
  std::array<double, 15> factors{};
  double factor = 1.0;
  for (size_t i = 0; i < factors.size(); ++i) {
    factors[factors.size() - 1 - i] = factor;
    factor /= static_cast<double>(i + 1);
  }
  return factors;
}();

}  // namespace

// Double precision decides nearly always what to round to. Where it does not, the result is
// computed with a relative error below 2^-95; only a midpoint of two floats that is closer could be
// missed.
float exp_of_negative(double x) {
  constexpr double kError = 0x1p-47;  // relative; what the operations below add up to is 2^-50
  if (x < -104.0) return 0.0F;        // below half of the smallest number
  const int power = static_cast<int>(x / kLog2[0] - 0.5);
  const double rest = x - power * kLog2[0];  // exact
  const double r = rest - power * kLog2[1];
  double sum = 0.0;
  for (const double factor : kFactors) sum = sum * r + factor;
  const auto scale = std::bit_cast<double>(static_cast<uint64_t>(1023 + power) << 52);
  const auto low = static_cast<float>(scale * (sum * (1.0 - kError)));
  const auto high = static_cast<float>(scale * (sum * (1.0 + kError)));
  if (low == high) return low;
  const TwoDoubles precise = precise_exp(TwoDoubles{rest} + exact_product(-power, kLog2[1]) +
                                         TwoDoubles{-power * kLog2[2]});
  return to_single({scale * precise.high, scale * precise.low});
}

}  // namespace kel
