#include "pictures/alpha.h"

#include <algorithm>

namespace tool {
namespace {

constexpr size_t kBytes = 4;
constexpr size_t kAlpha = 3;

// a * b / 255, rounded.
uint8_t product(unsigned a, unsigned b) { return static_cast<uint8_t>((a * b + 127) / 255); }

// Runs an operation on every pixel: (pixel of 4 bytes, number of the pixel).
template <class Operation>
void for_pixels(Picture& argb, Operation operation) {
  uint8_t* pixel = argb.row(0);
  const size_t count = argb.bytes().size() / kBytes;
  for (size_t i = 0; i < count; ++i, pixel += kBytes) operation(pixel, i);
}

}  // namespace

bool alpha_varies(const Picture& picture) {
  if (picture.format() != QX_FMT_ARGB) return false;
  const Bytes& bytes = picture.bytes();
  for (size_t i = kAlpha; i < bytes.size(); i += kBytes) {
    if (bytes[i] != bytes[kAlpha]) return true;
  }
  return false;
}

bool is_transparent(const Picture& picture) {
  if (alpha_varies(picture)) return true;
  if (picture.format() != QX_FMT_ARGB) return false;
  const uint8_t alpha = picture.bytes()[kAlpha];
  return alpha != 0 && alpha != 255;
}

Picture alpha_of(const Picture& argb) {
  Picture alpha(QX_FMT_GRAY, argb.size());
  uint8_t* to = alpha.row(0);
  const Bytes& bytes = argb.bytes();
  for (size_t i = kAlpha; i < bytes.size(); i += kBytes) *to++ = bytes[i];
  return alpha;
}

void set_alpha(Picture& argb, const Picture& alpha) {
  for_pixels(argb, [&](uint8_t* pixel, size_t i) { pixel[kAlpha] = alpha.bytes()[i]; });
}

void limit_alpha(Picture& argb, const Picture& alpha) {
  for_pixels(argb, [&](uint8_t* pixel, size_t i) {
    pixel[kAlpha] = product(pixel[kAlpha], alpha.bytes()[i]);
  });
}

void multiply_by_alpha(Picture& argb) {
  for_pixels(argb, [](uint8_t* pixel, size_t) {
    for (size_t c = 0; c < kAlpha; ++c) pixel[c] = product(pixel[c], pixel[kAlpha]);
  });
}

void divide_by_alpha(Picture& argb) {
  for_pixels(argb, [](uint8_t* pixel, size_t) {
    const unsigned alpha = pixel[kAlpha];
    for (size_t c = 0; c < kAlpha && alpha != 0; ++c) {
      pixel[c] = static_cast<uint8_t>(std::min(255u, (pixel[c] * 255u + alpha / 2) / alpha));
    }
  });
}

Picture over_white(const Picture& argb) {
  Picture result(QX_FMT_RGB24, argb.size());
  const uint8_t* from = argb.row(0);
  uint8_t* to = result.row(0);
  for (size_t i = 0; i < argb.bytes().size(); i += kBytes, from += kBytes, to += 3) {
    for (size_t c = 0; c < 3; ++c) {
      to[c] = static_cast<uint8_t>(255 - product(255u - from[c], from[kAlpha]));
    }
  }
  return result;
}

}  // namespace tool
