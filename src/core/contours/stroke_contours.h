#pragma once

#include "core/contours/bit_mask.h"
#include "core/contours/contours.h"

namespace kel {

// Draws closed contours, whose points are inside the mask, as lines 2 * radius wide: the pixels of
// cv::drawContours with that thickness, line type 0; one pixel wide for a radius of 0. The cost is
// bounded by the pixels of the mask and the length of the contours, whatever the radius.
void stroke_contours(BitMask& mask, const Contours& contours, int radius);

}  // namespace kel
