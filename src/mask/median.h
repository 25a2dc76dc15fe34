#pragma once

#include <cstdint>
#include <opencv2/core.hpp>

namespace kel::mask {

// cv::medianBlur between matrices of one size that do not overlap, faster for masks; ksize is odd.
// Images too large for OpenCV are left alone.
void median(const cv::Mat& in, cv::Mat& out, int32_t ksize);

}  // namespace kel::mask
