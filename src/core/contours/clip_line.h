#pragma once

#include <cstdint>

namespace kel {

struct Point64 {
  int64_t x;
  int64_t y;
};

// Cuts a line off where it leaves columns [0, width) and rows [0, height), with the rounding of
// cv::clipLine, on which the pixels of what is left depend. False when nothing is left.
bool clip_line(int64_t width, int64_t height, Point64& from, Point64& to);

}  // namespace kel
