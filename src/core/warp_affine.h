// Affine warps of whole images.
#pragma once

#include <opencv2/core/mat.hpp>

#include "core/geometry_types.h"
#include "core/pixel_region.h"

namespace kel::imgproc {

// cv::warpAffine of every plane by a 2 x 3 matrix of doubles; of the chroma plane by the matrix
// with half its translation. Matrices that are not finite, sources with a side of 32767 or more and
// destinations with one above 2^29 write nothing.
void warpAffine(KelPixelRegion& dst, const KelPixelRegion& src, const cv::Mat& matrix, int flags,
                int border_mode, Scalar_<float> border_value);

}  // namespace kel::imgproc
