#include <algorithm>
#include <cstddef>

#include "core/kernels/colour_from_nv.h"

namespace kel::imageprocess {
namespace {

uint8_t to_byte(int with_six_bits) {
  return static_cast<uint8_t>(std::clamp(with_six_bits >> 6, 0, 255));
}

void set_pixel(uint8_t* pixel, int y, int u, int v, const ColourOrder& order) {
  const int luma = (y * 257 * 18997 >> 16) - 1160;
  pixel[order.red_first ? 2 : 0] = to_byte(luma + 128 * u);
  pixel[1] = to_byte(luma - 25 * u - 52 * v);
  pixel[order.red_first ? 0 : 2] = to_byte(luma + 102 * v);
  if (order.bytes_per_pixel == 4) pixel[3] = 255;
}

}  // namespace

void colour_from_nv_plain(uint8_t* const colour[2], const uint8_t* const y[2],
                          const uint8_t* chroma, int64_t width, const ColourOrder& order) {
  for (int64_t x = 0; x < width; ++x) {
    const uint8_t* pair = chroma + (x & ~int64_t{1});
    const int u = pair[order.v_first ? 1 : 0] - 128;
    const int v = pair[order.v_first ? 0 : 1] - 128;
    for (size_t i = 0; i < 2; ++i) {
      set_pixel(colour[i] + x * order.bytes_per_pixel, y[i][x], u, v, order);
    }
  }
}

}  // namespace kel::imageprocess
