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

// Whether every pixel of a row of a CV_8UC1 matrix is 0 or 255.
inline bool is_binary_row(const cv::Mat& image, int32_t y) {
  uint8_t between = 0;
  const uint8_t* row = image.ptr(y);
  for (int32_t x = 0; x < image.cols; ++x) between |= static_cast<uint8_t>((row[x] + 1) & 0xFE);
  return between == 0;
}

}  // namespace kel::mask
