#pragma once

#include <opencv2/core.hpp>

#include "core/contours/bit_mask.h"

namespace kel {

// A line one pixel wide: the pixels of cv::line with 8-connected steps, wherever its ends are.
void draw_line(BitMask& mask, cv::Point from, cv::Point to);

}  // namespace kel
