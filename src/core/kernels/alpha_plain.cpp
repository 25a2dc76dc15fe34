#include "core/kernels/alpha.h"

namespace kel::imageprocess {

void argb_from_rgb24_row_plain(uint8_t* dst, const uint8_t* src, int64_t count) {
  for (int64_t x = 0; x < count; ++x, dst += 4, src += 3) {
    for (int i = 0; i < 3; ++i) dst[i] = src[i];
    dst[3] = 255;
  }
}

void rgb24_from_argb_row_plain(uint8_t* dst, const uint8_t* src, int64_t count) {
  for (int64_t x = 0; x < count; ++x, dst += 3, src += 4) {
    for (int i = 0; i < 3; ++i) dst[i] = src[i];
  }
}

}  // namespace kel::imageprocess
