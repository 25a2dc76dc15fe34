// Scaling of whole images. What OpenCV would refuse, or could not do without leaving
// the planes, is left alone: nothing is thrown for any image.
#pragma once

#include "core/interpolation.h"
#include "core/pixel_region.h"

namespace kel::imgproc {

// Scales src to the size of dst. Values of method that have no name mean kNearest.
void resize(KelPixelRegion& dst, const KelPixelRegion& src,
            kel::imageprocess::InterpolationMethod method);

}  // namespace kel::imgproc
