#pragma once

#include <cstdint>
#include <opencv2/core.hpp>

namespace kel::mask {

// cv::GaussianBlur with mirrored borders, between matrices of bytes of one size and type that do
// not overlap. ksize is odd and below 200; a sigma of 0 stands for the one of the other direction
// or, in the first place, for what OpenCV takes for this ksize.
void gaussian(const cv::Mat& src, cv::Mat& dst, int32_t ksize, double sigma_x, double sigma_y);

}  // namespace kel::mask
