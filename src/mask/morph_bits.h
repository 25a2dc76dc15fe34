// Dilation and erosion of binary masks with small elliptic kernels, 64 pixels in a word.
#pragma once

#include <cstdint>
#include <opencv2/core.hpp>

namespace kel::mask {

inline constexpr int32_t kLargestForBits = 31;  // side of the kernel

// Same bytes as morph_runs(). Returns false, with dst in part overwritten, when src has a pixel
// that is neither 0 nor 255.
bool morph_bits(const cv::Mat& src, cv::Mat& dst, int32_t side, bool dilate);

}  // namespace kel::mask
