// Affine warps of whole images.
#pragma once

#include <opencv2/core/mat.hpp>

#include "core/geometry_types.h"
#include "core/pixel_region.h"

namespace kel::imgproc {

// cv::warpAffine of every plane by a 2 x 3 matrix of doubles, which maps src to dst
// unless flags, OpenCV's interpolation flags, has WARP_INVERSE_MAP. border_mode is OpenCV's code,
// border_value in the order of the channels. For the chroma plane its translation
// is halved. dst is left alone if the matrix is not finite, a side of src is 32767 or longer, a
// side of dst is above 2^29, or the format cannot be moved.
void warpAffine(KelPixelRegion& dst, const KelPixelRegion& src, const cv::Mat& matrix, int flags,
                int border_mode, Scalar_<float> border_value);

}  // namespace kel::imgproc
