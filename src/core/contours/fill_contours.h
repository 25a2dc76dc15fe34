// Painting of filled contours: the bytes of cv::drawContours, faster (polygon_filler.h).
#pragma once

#include <opencv2/core.hpp>

#include "core/contours/contours.h"

namespace kel {

// Fills each contour of the list on its own (even-odd rule, boundary included) with `value` in an
// 8-bit image, so that contours inside others add nothing. As cv::drawContours with each index in
// turn, filled, line type 0, maximum level 1.
void fill_contours(cv::Mat& image, const Contours& contours, uint8_t value);

// Fills the contours without a parent together, by one even-odd rule for all: holes are filled, and
// where two contours overlap there is a gap. As cv::drawContours with index -1, the rest the same.
void fill_top_level(cv::Mat& image, const Contours& contours, const Hierarchy& hierarchy,
                    uint8_t value);

}  // namespace kel
