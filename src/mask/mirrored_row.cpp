#include "mask/mirrored_row.h"

#include <algorithm>
#include <cstring>

#include "core/kernels/reverse_row.h"

namespace kel::mask {

void copy_mirrored(uint8_t* to, const uint8_t* row, int64_t width, int pixel_bytes, int64_t first,
                   int64_t count) {
  const int64_t period = 2 * (width - 1);
  for (int64_t at = first; at < first + count;) {
    const int64_t left = first + count - at;
    const int64_t within = width == 1 ? 0 : (at % period + period) % period;
    int64_t run = 0;
    if (within < width) {
      run = std::min(left, width - within);
      std::memcpy(to, row + within * pixel_bytes, static_cast<size_t>(run * pixel_bytes));
    } else {  // from the mirrored pixel down to pixel 1
      run = std::min(left, period - within);
      const int64_t last = period - within - run + 1;
      imageprocess::reverse_row(to, row + last * pixel_bytes, run, pixel_bytes);
    }
    to += run * pixel_bytes;
    at += run;
  }
}

}  // namespace kel::mask
