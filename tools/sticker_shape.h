// What makes the shape of a sticker, in the tool as on web pages.
#pragma once

#include <algorithm>
#include <cstdint>

#include "morvik/morvik.h"

namespace tool {

// Side of the filter that makes edges soft: 3 pixels in small pictures, 11 in one of 20 million.
inline int edge_kernel(int width, int height) { return 3 + 2 * (std::max(width, height) / 1100); }

// The outlines of a mask, grown by the border and smoothed.
inline MKOutlineMode border_mode(uint16_t expand) {
  MKOutlineMode mode{};
  mode.mode = MK_OMODE_FILL_STROKE;
  mode.chain_approx = MK_OCHAIN_SIMPLE;
  mode.expand_size = expand;
  mode.smooth_level = MK_OSMOOTH_1;
  mode.threshold = 127;
  return mode;
}

}  // namespace tool
