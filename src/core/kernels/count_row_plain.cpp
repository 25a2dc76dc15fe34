#include <algorithm>

#include "core/kernels/count_row.h"

namespace kel::imageprocess {

void count_row_plain(uint8_t* counts, const uint8_t* padded, int32_t width, int32_t ksize,
                     uint8_t value, uint8_t* /*scratch*/) {
  for (int32_t x = 0; x < width; ++x) {
    counts[x] = static_cast<uint8_t>(std::count(padded + x, padded + x + ksize, value));
  }
}

}  // namespace kel::imageprocess
