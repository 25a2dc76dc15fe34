// What canvases need beyond the library: red first, and alpha. Pixels lie one after the other.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <utility>

namespace {

constexpr size_t kAlpha = 3;

// Calls operation(pixel of 4 bytes, number of the pixel).
template <class Operation>
void for_pixels(uint8_t* pixel, size_t count, Operation operation) {
  for (size_t i = 0; i < count; ++i, pixel += 4) operation(pixel, i);
}

}  // namespace

extern "C" {

void web_swap_red_and_blue(uint8_t* pixel, size_t count, int bytes) {
  for (size_t i = 0; i < count; ++i, pixel += bytes) std::swap(pixel[0], pixel[2]);
}

// The alpha of other pixels of 4 bytes.
void web_set_alpha(uint8_t* pixels, size_t count, const uint8_t* other) {
  for_pixels(pixels, count,
             [&](uint8_t* pixel, size_t i) { pixel[kAlpha] = other[4 * i + kAlpha]; });
}

void web_take_alpha(uint8_t* dst, const uint8_t* pixels, size_t count) {
  for (size_t i = 0; i < count; ++i) dst[i] = pixels[4 * i + kAlpha];
}

// Colours count as much as they are seen, for scaling: transparent ones do not bleed.
void web_multiply_by_alpha(uint8_t* pixels, size_t count) {
  for_pixels(pixels, count, [](uint8_t* pixel, size_t) {
    const unsigned alpha = pixel[kAlpha];
    for (size_t c = 0; c < kAlpha; ++c)
      pixel[c] = static_cast<uint8_t>((pixel[c] * alpha + 127) / 255);
  });
}

void web_divide_by_alpha(uint8_t* pixels, size_t count) {
  for_pixels(pixels, count, [](uint8_t* pixel, size_t) {
    const unsigned alpha = pixel[kAlpha];
    for (size_t c = 0; c < kAlpha && alpha != 0; ++c) {
      pixel[c] = static_cast<uint8_t>(std::min(255u, (pixel[c] * 255u + alpha / 2) / alpha));
    }
  });
}

}  // extern "C"
