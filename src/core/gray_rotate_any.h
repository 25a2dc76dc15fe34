// Rotation of gray images by any angle.
#pragma once

#include "core/geometry_types.h"
#include "core/pixel_region.h"

namespace kel::imageprocess {

// Turns src clockwise by any angle in degrees about centre (source pixels), nearest neighbour by
// truncation, 0 outside the source. The middle of dst lies on the middle of src.
void gray_rotate_any(PixelRegion_<QX_FMT_GRAY>& dst, const PixelRegion_<QX_FMT_GRAY>& src,
                     Point2D_<float> centre, float angle);

}  // namespace kel::imageprocess
