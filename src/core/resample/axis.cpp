#include "core/resample/axis.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace kel::imgproc {
namespace {

int16_t fixed_point(float weight) {
  return static_cast<int16_t>(std::lrint(weight * (1 << kWeightBits)));
}

}  // namespace

int64_t Axis::whole_scale() const {
  const double nearest = std::nearbyint(scale);
  const bool is_whole = std::abs(scale - nearest) < std::numeric_limits<double>::epsilon();
  return is_whole ? static_cast<int64_t>(nearest) : 0;
}

Place centred_place(const Axis& axis, int64_t at) {
  const auto place = static_cast<float>((static_cast<double>(at) + 0.5) * axis.scale - 0.5);
  const float first = std::floor(place);
  return {static_cast<int64_t>(first), place - first};
}

Place covering_place(const Axis& axis, int64_t at) {
  const double first = std::floor(static_cast<double>(at) * axis.scale);
  const auto past_edge = static_cast<float>(static_cast<double>(at + 1) - (first + 1) * axis.ratio);
  const float fraction = past_edge <= 0 ? 0.0F : past_edge - std::floor(past_edge);
  return {static_cast<int64_t>(first), fraction};
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

std::array<int16_t, 2> linear_weights(float fraction) {
  return {fixed_point(1.0F - fraction), fixed_point(fraction)};
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
