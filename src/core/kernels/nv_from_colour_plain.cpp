#include <cstddef>

#include "core/kernels/nv_from_colour.h"

namespace kel::imageprocess {
namespace {

struct Colour {
  int b, g, r;
};

int mean(int a, int b) { return (a + b + 1) >> 1; }
Colour mean(const Colour& p, const Colour& q) {
  return {mean(p.b, q.b), mean(p.g, q.g), mean(p.r, q.r)};
}

Colour colour_at(const uint8_t* row, int64_t x, const ColourOrder& order) {
  const uint8_t* pixel = row + x * order.bytes_per_pixel;
  return {pixel[order.red_first ? 2 : 0], pixel[1], pixel[order.red_first ? 0 : 2]};
}

uint8_t luma(const Colour& c) {
  return static_cast<uint8_t>((25 * c.b + 129 * c.g + 66 * c.r + 0x1080) >> 8);
}
uint8_t u_of(const Colour& c) {
  return static_cast<uint8_t>((112 * c.b - 74 * c.g - 38 * c.r + 0x8000) >> 8);
}
uint8_t v_of(const Colour& c) {
  return static_cast<uint8_t>((112 * c.r - 94 * c.g - 18 * c.b + 0x8000) >> 8);
}

}  // namespace

void nv_from_colour_plain(uint8_t* const y[2], uint8_t* chroma, const uint8_t* const colour[2],
                          int64_t width, const ColourOrder& order) {
  for (int64_t x = 0; x < width; ++x) {
    for (size_t i = 0; i < 2; ++i) y[i][x] = luma(colour_at(colour[i], x, order));
  }
  for (int64_t left = 0; left < width; left += 2) {
    const int64_t right = left + 1 < width ? left + 1 : left;
    const auto column = [&](int64_t x) {
      return mean(colour_at(colour[0], x, order), colour_at(colour[1], x, order));
    };
    const Colour pair = mean(column(left), column(right));
    chroma[left] = order.v_first ? v_of(pair) : u_of(pair);
    chroma[left + 1] = order.v_first ? u_of(pair) : v_of(pair);
  }
}

}  // namespace kel::imageprocess
