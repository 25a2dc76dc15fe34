#include "core/resample/axis.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace kel::imgproc {
int64_t Axis::whole_scale() const {
  const double nearest = std::nearbyint(scale);
  const bool is_whole = std::abs(scale - nearest) < std::numeric_limits<double>::epsilon();
  return is_whole ? static_cast<int64_t>(nearest) : 0;
}

Cover cover(const Axis& axis, int64_t at) {
  constexpr double kLeastPart = 1e-3;
  const double from = static_cast<double>(at) * axis.scale;
  const double to = from + axis.scale;
  const double size = std::min(axis.scale, static_cast<double>(axis.src) - from);
  const double last = std::min(std::floor(to), static_cast<double>(axis.src - 1));
  const double first = std::min(std::ceil(from), last);
  const bool has_head = first - from > kLeastPart;
  const bool has_tail = to - last > kLeastPart;
  Cover cover{static_cast<int64_t>(first), static_cast<int64_t>(last - first), 0,
              static_cast<float>(1.0 / size), 0};
  cover.first_weight = cover.last_weight = cover.weight;
  if (has_tail) {
    cover.last_weight = static_cast<float>(std::min({to - last, 1.0, size}) / size);
    if (cover.count++ == 0) cover.first_weight = cover.last_weight;
  }
  if (has_head) {
    cover.first_weight = static_cast<float>((first - from) / size);
    --cover.first;
    ++cover.count;
  }
  return cover;
}

// The cubic convolution kernel with a slope of -0.75 at 1.
std::array<int16_t, 4> cubic_weights(float fraction) {
  constexpr float kSlope = -0.75F;
  const auto inner = [](float x) { return ((kSlope + 2) * x - (kSlope + 3)) * x * x + 1; };
  const float before = fraction + 1;
  const float w0 = ((kSlope * before - 5 * kSlope) * before + 8 * kSlope) * before - 4 * kSlope;
  const float w1 = inner(fraction);
  const float w2 = inner(1 - fraction);
  return {fixed_point(w0), fixed_point(w1), fixed_point(w2), fixed_point(1.0F - w0 - w1 - w2)};
}

}  // namespace kel::imgproc
