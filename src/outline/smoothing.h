#pragma once

#include "core/contours/bit_mask.h"
#include "core/contours/contours.h"
#include "morvik/morvik.h"

namespace outline {

// Smooths the main outlines of the shapes in a mask by a moving average
// along each, `level` (1 to 5) per cent of its length wide, and paints all outlines, filled, into
// the mask. Shape is only ever added; holes are filled.
void make_contour_mean_fast(kel::BitMask& mask, MKOSmoothLevel level);

// cv::blur of a row of points, `window` (odd, below 2^16) wide: reflected at its ends although a
// contour is closed.
kel::Contour moving_mean(const kel::Contour& contour, int64_t window);

}  // namespace outline
