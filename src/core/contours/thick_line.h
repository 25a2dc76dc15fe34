#pragma once

#include <opencv2/core.hpp>

#include "core/contours/bit_mask.h"

namespace kel {

// The straight part of a line 2 * radius wide between two pixels, in the mask or not: what cv::line
// paints without its round ends. Pixels that are certainly within `radius` of an end may be left
// out, so the cost depends on the length of the line, not on its width. radius is at least 1.
void draw_thick_line(BitMask& mask, cv::Point from, cv::Point to, int radius);

}  // namespace kel
