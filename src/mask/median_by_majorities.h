// The median of a mask from bits.
//
// Where more than half of a window is 0, or more than half is 255, the median is known: those are
// majorities of two masks with a bit for each pixel (majority.h), whose cost is that of the edges.
//
// Pixels without a majority, those on soft edges, are left to open_medians.h.
#pragma once

#include <cstdint>
#include <opencv2/core.hpp>

namespace kel::mask {

// Same bytes as cv::medianBlur; ksize is odd and at most kLargestMajorityWindow, src and dst are
// CV_8UC1, of one size, and do not overlap.
void median_by_majorities(const cv::Mat& src, cv::Mat& dst, int32_t ksize);

}  // namespace kel::mask
