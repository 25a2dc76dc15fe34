#pragma once

#include <cstdint>
#include <opencv2/core.hpp>

namespace kel::mask {

// cv::bilateralFilter of OpenCV 4.6 on x86-64 with mirrored borders, between matrices of bytes of
// one size and type, 1 or 3 channels, that do not overlap. ksize is odd and below 200; 1 counts as
// 3, a sigma of 0 as 1.
void bilateral(const cv::Mat& src, cv::Mat& dst, int32_t ksize, double sigma_colour,
               double sigma_space);

}  // namespace kel::mask
