#include "core/kernels/gray_from_colour_row.h"

namespace kel::imageprocess {
namespace {

template <int BytesPerPixel>
void gray_from_colour(uint8_t* dst, const uint8_t* src, int64_t count) {
  for (int64_t x = 0; x < count; ++x, src += BytesPerPixel) {
    dst[x] = static_cast<uint8_t>((src[0] + src[1] + src[2]) / 3);
  }
}

}  // namespace

void gray_from_colour_row_plain(uint8_t* dst, const uint8_t* src, int64_t count,
                                int bytes_per_pixel) {
  bytes_per_pixel == 3 ? gray_from_colour<3>(dst, src, count)
                       : gray_from_colour<4>(dst, src, count);
}

}  // namespace kel::imageprocess
