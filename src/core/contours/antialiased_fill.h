// Filled contours with soft edges.
#pragma once

#include <opencv2/core/mat.hpp>

#include "core/contours/contours.h"

namespace kel {

// Paints 255 into an 8-bit image: the bytes of cv::drawContours of OpenCV 4.6 with index -1,
// filled, line type LINE_AA, maximum level 2, so contours without a parent and their children.
// OpenCV 4.10 gives others. All points lie inside the image.
void fill_antialiased(cv::Mat& image, const Contours& contours, const Hierarchy& hierarchy);

}  // namespace kel
