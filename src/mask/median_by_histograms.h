// The median of a photograph: histograms of all columns, which move down the image, and of windows,
// which slide along the rows (see median_by_counts.h for their shape).
#pragma once

#include <cstdint>
#include <opencv2/core.hpp>

namespace kel::mask {

// Same bytes as cv::medianBlur; ksize is odd and below 200, src and dst are of bytes, of one size
// and type, and do not overlap.
void median_by_histograms(const cv::Mat& src, cv::Mat& dst, int32_t ksize);

}  // namespace kel::mask
