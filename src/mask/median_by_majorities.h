// The median of a mask from bits.
//
// Where more than half of a window is 0, or more than half is 255, the median is known: those are
// majorities of two masks with a bit for each pixel (majority.h), whose cost is that of the edges.
//
// Pixels without a majority, those on soft edges, get their median from histograms of columns as in
// Perreault and Hebert, "Median filtering in constant time" (2007), with two changes: a column is
// brought up to date only when a window needs it, and the histograms are cumulative, so that a
// pixel is added by one vector of 16 counts, and a value found by comparing 16 counts at once.
#pragma once

#include <cstdint>
#include <opencv2/core.hpp>

namespace kel::mask {

// Same bytes as cv::medianBlur; ksize is odd and at most kLargestMajorityWindow, src and dst are
// CV_8UC1, of one size, and do not overlap.
void median_by_majorities(const cv::Mat& src, cv::Mat& dst, int32_t ksize);

}  // namespace kel::mask
