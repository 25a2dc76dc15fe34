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

// Centres of pixels on centres.
Place centred_place(const Axis& axis, int64_t at);

// The mapping of the area method when it enlarges: a pixel that lies inside one pixel of the source
// takes its value, one that straddles an edge mixes both sides.
Place covering_place(const Axis& axis, int64_t at);

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
    return i == 0 ? first_weight : i == count - 1 ? last_weight : weight;
  }
};
Cover cover(const Axis& axis, int64_t at);

// Weights have 11 bits; their rounded values need not sum to 2048.
constexpr int kWeightBits = 11;
std::array<int16_t, 2> linear_weights(float fraction);
std::array<int16_t, 4> cubic_weights(float fraction);  // of first - 1 ... first + 2

}  // namespace kel::imgproc
