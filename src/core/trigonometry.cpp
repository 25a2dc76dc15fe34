// The method is that of the IBM Accurate Mathematical Library: a table brings the argument next to
// zero, a short polynomial does the rest, and what single operations lose is carried along. Which
// products are fused with a sum is part of the result, and so is the order of operations.
#include "core/trigonometry.h"

#include <array>
#include <cmath>
#include <cstddef>

#include "core/arc_tangent_table.h"

namespace kel {
namespace {

// A number of more than double precision, `low` being far below `high`.
struct Parts {
  double high;
  double low;
};

constexpr Parts kPi{0x1.921fb54442d18p1, 0x1.1a62633145c07p-53};
constexpr Parts kHalfPi{0x1.921fb54442d18p0, 0x1.1a62633145c07p-54};

// Sum and product without fused operations, which compilers do not evaluate; after T. J. Dekker, "A
// floating-point technique for extending the available precision", 1971.
constexpr Parts sum(Parts a, Parts b) {
  const double high = a.high + b.high;
  const double of_b = high - a.high;
  const double low = (a.high - (high - of_b)) + (b.high - of_b) + (a.low + b.low);
  return {high + low, low - ((high + low) - high)};
}

constexpr Parts product(Parts a, Parts b) {
  constexpr double kSplit = 0x1p27 + 1.0;
  const double a_top = a.high * kSplit - (a.high * kSplit - a.high);
  const double b_top = b.high * kSplit - (b.high * kSplit - b.high);
  const double a_rest = a.high - a_top;
  const double b_rest = b.high - b_top;
  const double high = a.high * b.high;
  const double lost = ((a_top * b_top - high) + a_top * b_rest + a_rest * b_top) + a_rest * b_rest;
  return sum({high, lost}, {a.high * b.low + a.low * b.high, 0.0});
}

constexpr Parts quotient(Parts a, double b) {
  const double high = a.high / b;
  const Parts back = product({high, 0.0}, {b, 0.0});
  return {high, ((a.high - back.high) - back.low + a.low) / b};
}

struct SineCosine {
  Parts sine;
  Parts cosine;
};

// By Taylor's series, for numbers below 1; the error is below 2^-98.
constexpr SineCosine sine_and_cosine(double x) {
  Parts term{1.0, 0.0};
  SineCosine result{{0.0, 0.0}, term};
  for (int i = 1; i < 28; ++i) {
    term = quotient(product(term, {i % 2 == 0 ? -x : x, 0.0}), i);
    Parts& part = i % 2 == 0 ? result.cosine : result.sine;
    part = sum(part, term);
  }
  return result;
}

// Of multiples of 1/128.
constexpr std::array<SineCosine, 111> kSines = [] {
  std::array<SineCosine, 111> table{};
  for (size_t i = 0; i < table.size(); ++i) {
    table[i] = sine_and_cosine(static_cast<double>(i) / 128.0);
  }
  return table;
}();

// A number in [0, 0.86] by the multiple of 1/128 next to it.
struct Near {
  const SineCosine& table;
  double rest;

  explicit Near(double x) : Near(x, (kShift + x) - kShift) {}

 private:
  static constexpr double kShift = 0x1.8p45;  // the last bit of a sum with it is worth 1/128

  Near(double x, double multiple)
      : table(kSines[static_cast<size_t>(multiple * 128.0)]), rest(x - multiple) {}
};

// The series of the sine and cosine of a number with this square, less their first terms.
double sine_factor(double square) {
  return std::fma(square, 0x1.11110e829872fp-7, -0x1.5555555555515p-3);
}

double cosine_factor(double square) {
  return std::fma(square, std::fma(square, 0x1.6c16bedd9e239p-10, -0x1.5555555555535p-5), 0.5);
}

// Of angle + low, at most 0.86.
double sine_of_parts(double angle, double low) {
  constexpr double kFactors[] = {0x1.71de27b9a7ed9p-19, -0x1.a01a019db08b8p-13,
                                 0x1.1111111110ecep-7, -0x1.5555555555555p-3};
  if (std::abs(angle) < 0.126) {
    const double square = angle * angle;
    double factor = -0x1.addffc2fcdf59p-26;
    for (const double next : kFactors) factor = std::fma(factor, square, next);
    return angle + std::fma(std::fma(factor, angle, -0.5 * low), square, low);
  }
  if (angle < 0.0) low = -low;
  const Near near(std::abs(angle));
  const auto& [sine, cosine] = near.table;
  const double x = near.rest;
  const double square = x * x;
  const double s = x + std::fma(x * square, sine_factor(square), low);
  const double c = std::fma(x, low, square * cosine_factor(square));
  const double rest = std::fma(-sine.high, c, std::fma(s, cosine.low, sine.low));
  return std::copysign(sine.high + std::fma(cosine.high, s, rest), angle);
}

double cosine_of_parts(double angle, double low) {
  const Near near(std::abs(angle));
  const auto& [sine, cosine] = near.table;
  const double x = near.rest + (angle < 0.0 ? -low : low);
  const double square = x * x;
  const double s = std::fma(x * square, sine_factor(square), x);
  const double c = square * cosine_factor(square);
  const double rest = std::fma(-cosine.high, c, std::fma(-s, sine.low, cosine.low));
  return cosine.high + std::fma(-sine.high, s, rest);
}

// Angles below the first are taken as they are, below the second by what they lack to a right one,
// others by what they lack to half a turn.
constexpr double kSteep = 0x1.b6p-1;
constexpr double kFlat = 0x1.368fdp1;

Parts less_half_turn(double angle) {
  const double sign = std::copysign(1.0, angle);
  const double first = (angle - sign * 0x1.921fb58p1) + sign * 0x1.dde973cp-26;
  const double second = first + sign * 0x1.cb3b398p-54;
  const double third = second + sign * 0x1.d747f23e32ed7p-82;
  const double low = (first - second) + sign * 0x1.cb3b398p-54;
  return {third, low + ((second - third) + sign * 0x1.d747f23e32ed7p-82)};
}

// A quotient in (0, 1], exactly the sum of two numbers but for the last bits of the second.
Parts quotient_of(double a, double b) {
  const double high = a / b;
  const double back = b * high;
  const double lost = std::fma(b, high, -back);
  return {high, ((a - back) - lost) / b};
}

constexpr double kSmall = 0x1p-4;  // the arc tangent is a power series for smaller numbers

// Of a number with this square, less its first term, by x^3.
double arc_tangent_factor(double square) {
  constexpr double kFactors[] = {-0x1.7458022b13c25p-4, 0x1.c71c6e5129a3bp-4, -0x1.24924923f7603p-3,
                                 0x1.99999999997fdp-3, -0x1.5555555555555p-2};
  double factor = 0x1.375f08b31cbcep-4;
  for (const double next : kFactors) factor = std::fma(square, factor, next);
  return factor;
}

const ArcTangent& row_near(double x) {
  const double multiple = (0x1p52 + 256.0 * x) - 0x1p52;
  return kArcTangents[static_cast<size_t>(multiple) - 16];
}

// After value and slope, by x^2.
double bend(const ArcTangent& row, double x) {
  return std::fma(x, std::fma(x, std::fma(x, row.fifth, row.fourth), row.third), row.second);
}

double arc_tangent(Parts x) {
  if (x.high < kSmall) {
    const double square = x.high * x.high;
    return x.high + std::fma(x.high * square, arc_tangent_factor(square), x.low);
  }
  const ArcTangent& row = row_near(x.high);
  const double from_row = x.high - row.at;
  const double at = from_row + x.low;
  const double lost =
      std::abs(from_row) > std::abs(x.low) ? (from_row - at) + x.low : (x.low - at) + from_row;
  return row.value + std::fma(at, row.slope, std::fma(lost, row.slope, at * at * bend(row, at)));
}

// The angle `start` with the arc tangent of x added or, when sign is -1, taken off.
double turned(Parts start, double sign, Parts x) {
  if (x.high < kSmall) {
    const double square = x.high * x.high;
    const double high = start.high + sign * x.high;
    const double lost = (start.high - high) + sign * x.high;
    const double rest = sign * x.high * square * arc_tangent_factor(square);
    return high + (((start.low + lost) + sign * x.low) + rest);
  }
  const ArcTangent& row = row_near(x.high);
  const double at = (x.high - row.at) + x.low;
  const double rest = std::fma(sign * at, std::fma(at, bend(row, at), row.slope), start.low);
  return (start.high + sign * row.value) + rest;
}

// Of a point in the upper half plane.
double positive_angle_of(double y, double x) {
  constexpr int kFar = 57;  // powers of 2 between the coordinates: the point is on an axis
  const double across = std::abs(x);
  if (x == 0.0 || std::ilogb(y) - std::ilogb(across) >= kFar) return kHalfPi.high;
  if (std::ilogb(across) - std::ilogb(y) >= kFar) return x > 0.0 ? y / x : kPi.high;
  if (y >= across) return turned(kHalfPi, x > 0.0 ? -1.0 : 1.0, quotient_of(across, y));
  const Parts x_of_tangent = quotient_of(y, across);
  return x > 0.0 ? arc_tangent(x_of_tangent) : turned(kPi, -1.0, x_of_tangent);
}

}  // namespace

double angle_of(double y, double x) {
  if (y == 0.0) return std::copysign(std::signbit(x) ? kPi.high : 0.0, y);
  return std::copysign(positive_angle_of(std::abs(y), x), y);
}

double sine_of(double angle) {
  constexpr double kTiny = 0x1p-26;
  const double size = std::abs(angle);
  if (size < kTiny) return angle;
  if (size < kSteep) return sine_of_parts(angle, 0.0);
  if (size < kFlat) {
    return std::copysign(cosine_of_parts(kHalfPi.high - size, kHalfPi.low), angle);
  }
  const Parts rest = less_half_turn(angle);
  return -sine_of_parts(rest.high, rest.low);
}

double cosine_of(double angle) {
  const double size = std::abs(angle);
  if (size < kSteep) return cosine_of_parts(angle, 0.0);
  if (size < kFlat) {
    const double first = kHalfPi.high - size;
    const double high = first + kHalfPi.low;
    return sine_of_parts(high, (first - high) + kHalfPi.low);
  }
  const Parts rest = less_half_turn(angle);
  return -cosine_of_parts(rest.high, rest.low);
}

}  // namespace kel
