// Work on images shared over OpenCV's threads.
#pragma once

#include <algorithm>
#include <cstdint>
#include <functional>
#include <opencv2/core.hpp>

namespace kel {

// Splits an image's rows into bands that run in parallel; small images are one band. Bands of fewer
// rows than `least` would cost more in shared work than they gain.
inline void for_each_band(const cv::Mat& image, int32_t least,
                          const std::function<void(const cv::Range&)>& body) {
  constexpr int64_t kPixelsOfABand = 1 << 16;
  const int64_t bands = std::min<int64_t>({static_cast<int64_t>(image.total()) / kPixelsOfABand,
                                           image.rows / std::max(least, 1), cv::getNumThreads()});
  if (bands <= 1) return body({0, image.rows});
  cv::parallel_for_({0, image.rows}, body, static_cast<double>(bands));
}

}  // namespace kel
