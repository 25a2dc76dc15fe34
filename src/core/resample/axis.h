// One direction of a scaling: which pixels of the source a pixel of the result lies between.
#pragma once

#include <array>
#include <cstdint>

namespace kel::imgproc {

// The arithmetic, double where it is double and float where it is float, is OpenCV's.
struct Axis {
  int64_t src;
  int64_t dst;
  double ratio;  // dst / src
  double scale;  // src / dst, as the reciprocal of ratio

  Axis(int64_t src_size, int64_t dst_size)
      : src(src_size),
        dst(dst_size),
        ratio(static_cast<double>(dst_size) / static_cast<double>(src_size)),
        scale(1.0 / ratio) {}

  // The whole number that scale is, 0 if it is none.
  int64_t whole_scale() const;
};

// A place between two pixels: `fraction` of the way from `first` to the next. It may lie outside.
struct Place {
  int64_t first;
  float fraction;
};

// std::floor of what fits 64 bits, without a call.
template <typename Float>
int64_t whole_below(Float value) {
  const auto whole = static_cast<int64_t>(value);
  return whole - static_cast<int64_t>(value < static_cast<Float>(whole));
}

// Centres of pixels on centres.
inline Place centred_place(const Axis& axis, int64_t at) {
  const auto place = static_cast<float>((static_cast<double>(at) + 0.5) * axis.scale - 0.5);
  const int64_t first = whole_below(place);
  return {first, place - static_cast<float>(first)};
}

// The mapping of the area method when it enlarges: a pixel that lies inside one pixel of the source
// takes its value, one that straddles an edge mixes both sides.
inline Place covering_place(const Axis& axis, int64_t at) {
  const int64_t first = whole_below(static_cast<double>(at) * axis.scale);
  const auto past_edge =
      static_cast<float>(static_cast<double>(at + 1) - static_cast<double>(first + 1) * axis.ratio);
  const float whole = past_edge <= 0 ? past_edge : static_cast<float>(whole_below(past_edge));
  return {first, past_edge - whole};
}

// The run of pixels that one pixel of the result covers, when scaling down: all have the same
// weight but for the outermost, which may be covered in part. Parts below a thousandth are left
// out.
struct Cover {
  int64_t first;
  int64_t count;
  float first_weight;
  float weight;
  float last_weight;

  float weight_of(int64_t i) const {
    if (i == 0) return first_weight;
    return i == count - 1 ? last_weight : weight;
  }
};
Cover cover(const Axis& axis, int64_t at);

// Weights have 11 bits; their rounded values need not sum to 2048.
constexpr int kWeightBits = 11;

// Halves are rounded to even: what is left when there are no bits for a fraction.
inline int16_t fixed_point(float weight) {
  constexpr float kNoFraction = 12582912;  // 1.5 * 2^23
  return static_cast<int16_t>(weight * (1 << kWeightBits) + kNoFraction - kNoFraction);
}
inline std::array<int16_t, 2> linear_weights(float fraction) {
  return {fixed_point(1.0F - fraction), fixed_point(fraction)};
}
std::array<int16_t, 4> cubic_weights(float fraction);  // of first - 1 ... first + 2

}  // namespace kel::imgproc
