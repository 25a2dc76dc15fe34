#pragma once

#include <cstdint>
#include <opencv2/core.hpp>

#include "core/pixel_region.h"

namespace kel::mask {

// Binarises src (above level: 255) into dst and fills the holes of the largest shape and its
// neighbours. GRAY regions of equal size, rows packed. Returns MVK_BAD_ARGUMENT for another format
// or a level above 254.
[[nodiscard]] uint32_t make_up_holes(const KelPixelRegion& src, const KelPixelRegion& dst,
                                     uint32_t level);

// The same on matrices of one size, both CV_8UC1; they may be the same memory.
void _make_up_holes(const cv::Mat& src, cv::Mat& dst, int32_t level);

}  // namespace kel::mask
