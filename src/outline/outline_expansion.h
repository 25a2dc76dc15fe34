// The outline service: binarise, grow, smooth, trace.
#pragma once

#include <opencv2/core.hpp>

#include "core/contours/bit_mask.h"
#include "core/contours/contours.h"
#include "core/pixel_region.h"
#include "morvik/morvik.h"

namespace outline {

// Outlines of the shapes (pixels above mode->threshold) of a GRAY image, grown. Rows are packed:
// the pitch is not used. `result` must be empty. Returns MVK_OK or MVK_NOT_FOUND.
[[nodiscard]] uint32_t outline_expansion(KelPixelRegion image, const MKOutlineMode* mode,
                                         MKGetOutline* result);

// The same for a plane of gray bytes, rows by pitch.
[[nodiscard]] uint32_t outline_expansion(const kel::imageprocess::Plane& gray,
                                         const MKOutlineMode* mode, MKGetOutline* result);

// Paints the contours, grown as mode->mode says, into a mask, and smooths what is painted there.
// Replaces the contours by their hulls or moves them where the mode does so.
void switch_mode_draw(kel::BitMask& mask, kel::Contours& contours, const kel::Hierarchy& hierarchy,
                      const MKOutlineMode* mode);

}  // namespace outline
