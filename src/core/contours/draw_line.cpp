#include "core/contours/draw_line.h"

#include <cstdlib>
#include <utility>

#include "core/contours/clip_line.h"

namespace kel {
namespace {

// Bresenham's lines from left to right, both ends inside. OpenCV takes a step aside behind every
// pixel at which its error, length - 2 * height at first and less by 2 * height with each pixel, is
// below 0; a step adds 2 * length.

constexpr int kSign = 63;  // bit

// A run of pixels in a row, mostly a short one.
void draw_run(BitMask& mask, int64_t y, int64_t begin, int64_t count) {
  const int64_t bit = begin % BitMask::kBits;
  if (count > BitMask::kBits) return mask.set_span(static_cast<int>(y), begin, begin + count);
  const uint64_t bits = ~uint64_t{0} >> (BitMask::kBits - count);
  uint64_t* const word = mask.row(static_cast<int>(y)) + begin / BitMask::kBits;
  word[0] |= bits << bit;
  if (bit + count > BitMask::kBits) word[1] |= bits >> (BitMask::kBits - bit);
}

// A run of pixels for each row: they are `length / height` pixels long, or one more.
void draw_flat(BitMask& mask, Point64 at, int64_t length, int64_t height, int step_y) {
  int64_t begin = at.x;
  if (height > 0) {
    const int64_t pixels = length / height;
    const int64_t rest = 2 * (length % height);
    const int64_t first = (length - 2 * height) / (2 * height);
    const bool steps_at_once = length < 2 * height;
    int64_t run = steps_at_once ? 1 : first + 2;
    int64_t error = length - 2 * height * run;  // where the run ends: below 0
    for (int64_t i = 0; i < height; ++i, at.y += step_y) {
      draw_run(mask, at.y, begin, run);
      begin += run;
      error += rest;
      const int64_t is_longer = ~(error >> kSign);  // -1 or 0
      error -= 2 * height & is_longer;
      run = pixels - is_longer;
    }
  }
  mask.set_span(static_cast<int>(at.y), begin, at.x + length + 1);
}

void draw_steep(BitMask& mask, Point64 at, int64_t width, int64_t length, int step_y) {
  int64_t error = length - 2 * width;
  auto x = static_cast<uint64_t>(at.x);
  uint64_t* words = mask.row(static_cast<int>(at.y));
  const int64_t stride = step_y * mask.row_words();
  for (int64_t i = 0; i <= length; ++i, words += stride) {
    words[x / BitMask::kBits] |= uint64_t{1} << (x % BitMask::kBits);
    const int64_t is_aside = error >> kSign;  // -1 or 0
    x -= static_cast<uint64_t>(is_aside);
    error += (2 * length & is_aside) - 2 * width;
  }
}

}  // namespace

void draw_line(BitMask& mask, cv::Point from, cv::Point to) {
  Point64 a{from.x, from.y};
  Point64 b{to.x, to.y};
  if (!clip_line(mask.width(), mask.height(), a, b)) return;
  if (b.x < a.x) std::swap(a, b);
  const int64_t width = b.x - a.x;
  const int64_t height = std::abs(b.y - a.y);
  const int step_y = b.y < a.y ? -1 : 1;
  if (height > width) {
    draw_steep(mask, a, width, height, step_y);
  } else {
    draw_flat(mask, a, width, height, step_y);
  }
}

}  // namespace kel
