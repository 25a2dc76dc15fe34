// Turns by right angles, without interpolation.
#pragma once

#include <cstdint>

#include "core/geometry_types.h"
#include "core/pixel_region.h"

namespace kel::imageprocess {

// Turns src by the whole part of angle, in degrees clockwise. Nothing is written by a right angle
// unless dst has the turned size. Other angles than right ones go to gray_rotate_any() for gray,
// which alone uses centre, and do nothing for the other formats.
//
// Rows of RGB24 and ARGB are addressed by pitch; those of GRAY, NV12 and NV21 count as packed,
// except for 0 and 360 degrees.
template <uint32_t Code>
void rotate(PixelRegion_<Code>& dst, const PixelRegion_<Code>& src, Point2D_<float> centre,
            float angle);

}  // namespace kel::imageprocess

namespace kel::imgproc {

// rotate() on views of the planes, by the format of src; ABGR is left alone.
void rotate_90s(KelPixelRegion& dst, const KelPixelRegion& src, int angle,
                Point2D_<float> centre = {});

}  // namespace kel::imgproc
