// Images beyond these limits are left alone: filters, contours and OpenCV's morphology count places
// in 32 bits.
#pragma once

#include <cstdint>

namespace kel::mask {

// Kernels are added to sides, and sides multiplied by channels.
inline bool sides_fit(int64_t width, int64_t height) {
  constexpr int64_t kLongestSide = int64_t{1} << 29;
  return width <= kLongestSide && height <= kLongestSide;
}

}  // namespace kel::mask
