// The border that OpenCV calls 101: mirrored, the outermost elements not repeated.
#pragma once

#include <cstdint>

namespace kel {

// Maps a position outside [0, end) to the one inside that the border shows there.
inline int64_t mirrored(int64_t at, int64_t end) {
  if (at >= 0 && at < end) return at;
  if (end == 1) return 0;
  const int64_t period = 2 * (end - 1);
  const int64_t within = (at % period + period) % period;
  return within < end ? within : period - within;
}

}  // namespace kel
