#pragma once

#include <cstdint>
#include <opencv2/core.hpp>

namespace kel::mask {

// 255 where a pixel of src is above level, 0 elsewhere: cv::threshold without its set-up, in place
// if wanted. CV_8UC1 matrices of one size.
inline void binarise(const cv::Mat& src, cv::Mat& dst, int32_t level) {
  for (int32_t y = 0; y < src.rows; ++y) {
    const uint8_t* from = src.ptr(y);
    uint8_t* to = dst.ptr(y);
    for (int32_t x = 0; x < src.cols; ++x) to[x] = from[x] > level ? 255 : 0;
  }
}

}  // namespace kel::mask
