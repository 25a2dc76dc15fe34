// Turns by right angles, without interpolation.
#pragma once

#include <cstdint>

#include "core/geometry_types.h"
#include "core/pixel_region.h"

namespace kel::imageprocess {

// Turns src by the whole part of angle, in degrees clockwise; dst has the turned size, else nothing
// is written. Angles that are not right ones go to gray_rotate_any() for gray and do nothing for
// the other formats; centre matters there only.
//
// RGB24 and ARGB step rows by pitch. GRAY, NV12 and NV21 take rows as packed, but for 0 and 360.
template <uint32_t Code>
void rotate(PixelRegion_<Code>& dst, const PixelRegion_<Code>& src, Point2D_<float> centre,
            float angle);

}  // namespace kel::imageprocess

namespace kel::imgproc {

// rotate() on views of the planes, by the format of src; ABGR is left alone.
void rotate_90s(KelPixelRegion& dst, const KelPixelRegion& src, int angle,
                Point2D_<float> centre = {});

}  // namespace kel::imgproc
