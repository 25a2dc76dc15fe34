#pragma once

#include <algorithm>
#include <cstdint>
#include <opencv2/imgproc.hpp>

namespace kel::mask {

// 255 where a pixel of src is above level, 0 elsewhere; may be in place. CV_8UC1 matrices of one
// size. OpenCV counts the pixels of a call in 32 bits, so large images are split.
inline void binarise(const cv::Mat& src, cv::Mat& dst, double level) {
  const int rows = std::max(1, (1 << 30) / src.cols);
  for (int y = 0; y < src.rows; y += rows) {
    const cv::Range part(y, std::min(y + rows, src.rows));
    cv::threshold(src.rowRange(part), dst.rowRange(part), level, 255.0, cv::THRESH_BINARY);
  }
}

}  // namespace kel::mask
