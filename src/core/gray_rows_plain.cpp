#include "core/gray_rows.h"

namespace kel::imageprocess {
namespace {

template <int BytesPerPixel>
void gray_from_colour(uint8_t* dst, const uint8_t* src, int64_t count) {
  for (int64_t x = 0; x < count; ++x, src += BytesPerPixel) {
    dst[x] = static_cast<uint8_t>((src[0] + src[1] + src[2]) / 3);
  }
}

template <int BytesPerPixel>
void colour_from_gray(uint8_t* dst, const uint8_t* src, int64_t count) {
  for (int64_t x = 0; x < count; ++x, dst += BytesPerPixel) {
    dst[0] = dst[1] = dst[2] = src[x];
    if constexpr (BytesPerPixel == 4) dst[3] = 255;
  }
}

}  // namespace

void gray_from_colour_row_plain(uint8_t* dst, const uint8_t* src, int64_t count,
                                int bytes_per_pixel) {
  bytes_per_pixel == 3 ? gray_from_colour<3>(dst, src, count)
                       : gray_from_colour<4>(dst, src, count);
}

void colour_from_gray_row(uint8_t* dst, const uint8_t* src, int64_t count, int bytes_per_pixel) {
  bytes_per_pixel == 3 ? colour_from_gray<3>(dst, src, count)
                       : colour_from_gray<4>(dst, src, count);
}

}  // namespace kel::imageprocess
