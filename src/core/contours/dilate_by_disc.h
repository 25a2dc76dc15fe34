#pragma once

#include "core/contours/bit_mask.h"

namespace kel {

// Sets the pixels of `mask` that are at most `radius` away from a set pixel of `centres`, a mask of
// the same size: a disc of cv::circle, filled, around each. radius is at least 0. The cost is
// bounded by the rows times the radius, however many centres there are.
void dilate_by_disc(BitMask& mask, const BitMask& centres, int radius);

}  // namespace kel
