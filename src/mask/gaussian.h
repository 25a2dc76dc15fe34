#pragma once

#include <cstdint>
#include <opencv2/core.hpp>

namespace kel::mask {

// cv::GaussianBlur with mirrored borders, between matrices of bytes of one size and type that do
// not overlap. ksize is odd and below 200; a sigma_y of 0 means
// sigma_x, a sigma_x of 0 OpenCV's default for this ksize.
void gaussian(const cv::Mat& src, cv::Mat& dst, int32_t ksize, double sigma_x, double sigma_y);

}  // namespace kel::mask
