// The median of a mask by counting.
//
// Where more than half of a window is 0, or more than half is 255, the median is known. Both counts
// slide: along the row as sums over runs of doubled length, from row to row by adding the row that
// enters and subtracting the one that leaves.
//
// Pixels without a majority, those on soft edges, get theirs from histograms (open_medians.h).
#pragma once

#include <cstdint>
#include <opencv2/core.hpp>

namespace kel::mask {

// Same bytes as cv::medianBlur; ksize is odd and below 200, src and dst are CV_8UC1, of one size,
// and do not overlap.
void median_by_counts(const cv::Mat& src, cv::Mat& dst, int32_t ksize);

}  // namespace kel::mask
