#pragma once

#include <cstdint>
#include <opencv2/core.hpp>

namespace kel::mask {

// Same bytes as cv::medianBlur; ksize is odd and below 200, in and out are of bytes, of one size
// and type, and do not overlap.
void median(const cv::Mat& in, cv::Mat& out, int32_t ksize);

}  // namespace kel::mask
