#pragma once

#include <opencv2/core.hpp>

#include "morvik/morvik.h"

namespace outline {

// Smooths the main outlines of the shapes in a framed image (trace_contours.h) by a moving average
// along each, `level` (1 to 5) per cent of its length wide, and paints all outlines, filled, into
// the image. Shape is only ever added; holes are filled.
void make_contour_mean_fast(cv::Mat& image, MKOSmoothLevel level);

}  // namespace outline
