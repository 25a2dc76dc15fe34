// The median of a mask over 3x3 or 5x5 pixels by minima and maxima.
//
// Most of a mask is flat. A chunk of a row, with the columns that its windows reach, is tested when
// the row enters the windows; where more than half of their rows have one value, that value is the
// result.
//
// Elsewhere the columns of a window are sorted, then its rows, and the median is found on the
// diagonals that run against both orders, as in Paeth, "Median finding on a 3x3 grid" (1990).
#pragma once

#include <cstdint>
#include <opencv2/core.hpp>

namespace kel::mask {

// Whether a row has at least one chunk, and no more than there are bytes for on the stack.
bool fits_network(int32_t columns);

// Same bytes as cv::medianBlur; ksize is 3 or 5, src and dst are CV_8UC1, of one size whose width
// fits_network, and do not overlap.
void median_by_network(const cv::Mat& src, cv::Mat& dst, int32_t ksize);

}  // namespace kel::mask
