// Filled contours: the pixels of cv::drawContours, faster (polygon_filler.h). Points may lie
// outside the mask.
#pragma once

#include "core/contours/bit_mask.h"
#include "core/contours/contours.h"

namespace kel {

// Fills each contour of the list on its own (even-odd rule, boundary included), so that contours
// inside others add nothing. As cv::drawContours with each index in turn, filled, line type 0,
// maximum level 1.
void fill_contours(BitMask& mask, const Contours& contours);

// Fills the contours without a parent together, by one even-odd rule for all: holes are filled, and
// where two contours overlap there is a gap. As cv::drawContours with index -1 and otherwise
// the same arguments.
void fill_top_level(BitMask& mask, const Contours& contours, const Hierarchy& hierarchy);

}  // namespace kel
