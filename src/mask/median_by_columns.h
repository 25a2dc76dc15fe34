#pragma once

#include <cstdint>
#include <opencv2/core.hpp>

namespace kel::mask {

// Same bytes as cv::medianBlur; ksize is 3 or 5, src and dst are of bytes, of one size and type,
// and do not overlap.
void median_by_columns(const cv::Mat& src, cv::Mat& dst, int32_t ksize);

}  // namespace kel::mask
