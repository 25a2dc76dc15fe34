#pragma once

#include <cstdint>
#include <opencv2/core.hpp>
#include <vector>

namespace kel::mask {

// Paints the first of the contours solid (255) into mask, even-odd where it crosses itself.
// Returns MVK_BAD_ARGUMENT for a mask that is not CV_8UC1.
uint32_t fill_area_up(cv::Mat& mask, const std::vector<std::vector<cv::Point>>& contours);

}  // namespace kel::mask
