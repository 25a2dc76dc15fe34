#include "face/intersection.h"

#include <cmath>

namespace mvk::face {

kel::Point2D_<float> get_intersection(const kel::Point2D_<float>& a, const kel::Point2D_<float>& b,
                                      const kel::Point2D_<float>& c,
                                      const kel::Point2D_<float>& d) {
  const kel::Point2D_<float> u{a.x - c.x, a.y - c.y};
  const kel::Point2D_<float> v{b.x - d.x, b.y - d.y};
  constexpr double kInversePi = 0.3183098861837907;
  const float cosine = (u.x * v.x + u.y * v.y) / (std::hypot(v.x, v.y) * std::hypot(u.x, u.y));
  const float degrees = static_cast<float>(std::acos(cosine) * 180.0 * kInversePi);
  // Negated so that NaN is treated as parallel. Opposite directions are not caught.
  if (!(degrees >= 0.1F)) return {0.0F, 0.0F};
  const float k = ((c.x - d.x) * v.y + (d.y - c.y) * v.x) / (v.x * u.y - v.y * u.x);
  return {std::fma(k, u.x, c.x), std::fma(k, u.y, c.y)};
}

}  // namespace mvk::face
