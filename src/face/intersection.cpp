#include "face/intersection.h"

#include <cmath>

namespace mvk::face {
namespace {

// The largest cosine of an angle of 0.1 degrees or more, both in single precision; found with
// acosf of the C library, which is left out because another one may round another way.
constexpr float kParallel = 0x1.ffffccp-1F;

// Squares are exact in double precision. hypotf gives the same.
float length(const kel::Point2D_<float>& v) {
  return static_cast<float>(std::sqrt(double{v.x} * v.x + double{v.y} * v.y));
}

}  // namespace

kel::Point2D_<float> get_intersection(const kel::Point2D_<float>& a, const kel::Point2D_<float>& b,
                                      const kel::Point2D_<float>& c,
                                      const kel::Point2D_<float>& d) {
  const kel::Point2D_<float> u{a.x - c.x, a.y - c.y};
  const kel::Point2D_<float> v{b.x - d.x, b.y - d.y};
  const float cosine = (u.x * v.x + u.y * v.y) / (length(v) * length(u));
  // Negated so that NaN is treated as parallel, and what rounding has moved below -1. Opposite
  // directions are not caught.
  if (!(cosine >= -1.0F && cosine <= kParallel)) return {0.0F, 0.0F};
  const float k = ((c.x - d.x) * v.y + (d.y - c.y) * v.x) / (v.x * u.y - v.y * u.x);
  return {std::fma(k, u.x, c.x), std::fma(k, u.y, c.y)};
}

}  // namespace mvk::face
