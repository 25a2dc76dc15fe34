// Growing of the main contours by moving their points. Do not rearrange the arithmetic: the
// points are truncated, so an algebraically equal formula gives other outlines.
#pragma once

#include <cstdint>
#include <opencv2/core.hpp>

#include "core/contours/bit_mask.h"
#include "core/contours/contours.h"
#include "morvik/morvik.h"

namespace outline {

// Both move the points of the main contours and set the pixels of all contours, filled, in `mask`.
// The centre of a contour is `center`, or its centroid when that is null; a contour whose centre or
// scale is not finite stays where it is. Distances saturate, their sums with the centre wrap.

// Scales about the centre, by the factor that moves the nearest point out by `expand_size` pixels.
void expansion_contours_polar(kel::Contours& contours, uint16_t expand_size, kel::BitMask& mask,
                              const kel::Hierarchy& hierarchy, const TPOINT* center);

// Moves points right of the centre to the right and points below it down, in proportion to their
// distance along that axis: by `expand_size` pixels at half the larger side of the bounding box.
void expansion_contours_vector(kel::Contours& contours, uint16_t expand_size, kel::BitMask& mask,
                               const kel::Hierarchy& hierarchy, const TPOINT* center);

}  // namespace outline
