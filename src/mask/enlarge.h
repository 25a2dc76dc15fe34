// Bilinear enlargement of masks, whose cost follows their edges: what lies between two pixels of
// one value has that value.
#pragma once

#include <cstdint>
#include <opencv2/core/mat.hpp>

#include "core/contours/bit_mask.h"

namespace kel::mask {

// Same bytes as resize_plane() with linear interpolation; both CV_8UC1.
void enlarge(cv::Mat& dst, const cv::Mat& src);
// The same for a mask of 255 where a bit is set, and 0.
void enlarge(cv::Mat& dst, const BitMask& src);
// The pixels of the enlarged mask that are above a level.
BitMask enlarged_above(const cv::Mat& src, cv::Size size, uint8_t level);

}  // namespace kel::mask
