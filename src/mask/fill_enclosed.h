// Fills what a shape encloses, without tracing contours: the background is cut into horizontal
// runs, runs that touch from row to row are joined (union-find), and those that do not reach the
// image's border are holes.
#pragma once

#include <cstdint>
#include <opencv2/core.hpp>

namespace kel::mask {

// Turns the pixels of `image` (CV_8UC1, only 0 and 255) that no 4-connected path of zeros joins to
// the border into 255. The same as filling every outer contour of its 8-connected shapes.
void fill_enclosed(cv::Mat& image);

}  // namespace kel::mask
