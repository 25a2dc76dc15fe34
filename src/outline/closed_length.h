#pragma once

#include "core/contours/contours.h"

namespace outline {

// cv::arcLength of a closed contour as on x86-64: sides are rounded to single precision, squares
// and their sum each on its own. OpenCV for AArch64 fuses these.
double closed_length(const kel::Contour& contour);

}  // namespace outline
