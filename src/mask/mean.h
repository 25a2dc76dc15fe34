#pragma once

#include <cstdint>
#include <opencv2/core.hpp>

namespace kel::mask {

// cv::blur with mirrored borders, between matrices of bytes of one size and type that do not
// overlap. ksize is odd and below 200.
void mean(const cv::Mat& src, cv::Mat& dst, int32_t ksize);

}  // namespace kel::mask
