// Rotation of whole images by any angle.
#pragma once

#include <opencv2/core/mat.hpp>

#include "core/geometry_types.h"
#include "core/interpolation.h"
#include "core/pixel_region.h"

namespace kel::imgproc {

// The mean ratio of dst's sides to those of src turned by angle degrees: of the sides themselves,
// not of the bounding box.
double get_resize_scale(const Size_<int>& dst_size, const Size_<int>& src_size, double angle);

// The 2 x 3 matrix that turns an image of src_size by angle degrees anticlockwise about centre,
// scales it, and moves its bounding box to the origin. Scale 0 makes the bounding box fit dst_size.
// The matrix is all NaN when the turned corners are not finite or too far away for whole pixels.
cv::Mat get_affine_transform(const Size_<int>& dst_size, const Size_<int>& src_size,
                             const Point2D_<float>& centre, double angle, double scale);

// Turns src clockwise by angle degrees into dst; right angles at scale 1 move pixels unchanged,
// all others are resampled. Scale 0 means that of get_resize_scale(). border_mode is OpenCV's code,
// border_value in the order of the channels. dst is left alone as by warpAffine().
void rotate(KelPixelRegion& dst, const KelPixelRegion& src, double angle, Point2D_<float> centre,
            kel::imageprocess::InterpolationMethod method, int border_mode,
            Scalar_<float> border_value, double scale);

}  // namespace kel::imgproc
