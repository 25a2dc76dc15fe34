// A Gaussian blur of few taps in one go: sums of columns, then, while these are in the first cache,
// of rows. Which come first does not matter, because nothing is rounded before the end.
#pragma once

#include <cstdint>

#include "core/kernels/gaussian.h"

namespace kel::imageprocess {

inline constexpr int32_t kMostSmallRadius = 3;
inline constexpr int kLeastSmallWidth = 64;  // bytes of an area

// Rows from the first byte of an area of the image: `count` bytes, beside which there are `before`
// and `after` more, as many as windows reach or up to the image's sides, beyond which it is
// mirrored. Pixels are `step` (1 or 3) bytes.
struct SmallGaussian {
  uint8_t* results[kGaussianRows];  // null for rows that are not wanted
  const uint8_t* rows[2 * kMostSmallRadius + kGaussianRows];
  int64_t count;
  int64_t before;
  int64_t after;
  int step;
  GaussianTaps along;  // both radii up to kMostSmallRadius
  GaussianTaps across;
};
// Row i of the results from rows[i] to rows[i + 2 * across.radius].
void gaussian_small(const SmallGaussian& job);
// Reference version; results must match.
void gaussian_small_plain(const SmallGaussian& job);

}  // namespace kel::imageprocess
