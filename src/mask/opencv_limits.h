// What OpenCV counts in 32 bits. Images beyond these limits are left alone: OpenCV would refuse
// them, or write beyond its buffers.
#pragma once

#include <cstdint>
#include <limits>

namespace kel::mask {

// Kernels are added to sides, and sides multiplied by channels. Some filters take less (fits_int).
inline bool sides_fit(int64_t width, int64_t height) {
  constexpr int64_t kLongestSide = int64_t{1} << 29;
  return width <= kLongestSide && height <= kLongestSide;
}

// The bytes that a filter works on at a time.
inline bool fits_int(int64_t bytes) { return bytes <= std::numeric_limits<int>::max(); }

}  // namespace kel::mask
