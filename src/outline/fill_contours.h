// Painting of filled contours, one by one, at a cost that depends on what is seen of them.
#pragma once

#include <opencv2/core.hpp>

#include "outline/contours.h"

namespace outline {

// Fills every contour of the list on its own (even-odd rule, boundary included) with `value` in an
// 8-bit image. Pixels that belong to any of them are set, so contours inside others add nothing.
//
// Gives the bytes of cv::drawContours with each contour's index in turn, filled, line type 0 and
// maximum level 1. That call converts the whole list each time, and steps through all rows from
// the topmost point of a contour: seconds when an expansion has moved a point far away.
void fill_contours(cv::Mat& image, const Contours& contours, uint8_t value);

}  // namespace outline
