// Work of filters shared over OpenCV's threads.
#pragma once

#include <algorithm>
#include <cstdint>
#include <functional>
#include <opencv2/core.hpp>

namespace kel::mask {

// Runs body on bands of an image's rows: on all of them at once unless the image is large. Bands of
// fewer rows than `least` are not worth what they have in common.
inline void for_each_band(const cv::Mat& image, int32_t least,
                          const std::function<void(const cv::Range&)>& body) {
  constexpr int64_t kPixelsOfABand = 1 << 16;
  const int64_t bands = std::min<int64_t>({static_cast<int64_t>(image.total()) / kPixelsOfABand,
                                           image.rows / std::max(least, 1), cv::getNumThreads()});
  if (bands <= 1) return body({0, image.rows});
  cv::parallel_for_({0, image.rows}, body, static_cast<double>(bands));
}

}  // namespace kel::mask
