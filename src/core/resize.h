// Scaling of whole images and single planes. The results are those of cv::resize of OpenCV 4.6 on
// x86-64, on every processor and with any version of OpenCV.
#pragma once

#include <opencv2/core/mat.hpp>

#include "core/interpolation.h"
#include "core/pixel_region.h"

namespace kel::imgproc {

// Scales src to the size of dst. Values of method that have no name mean kNearest. Planes that are
// empty, or whose rows do not fit their pitch, are left alone.
void resize(KelPixelRegion& dst, const KelPixelRegion& src,
            kel::imageprocess::InterpolationMethod method);

// The same for a plane of bytes with one to four channels, as many as src has.
void resize_plane(cv::Mat& dst, const cv::Mat& src, kel::imageprocess::InterpolationMethod method);

}  // namespace kel::imgproc
