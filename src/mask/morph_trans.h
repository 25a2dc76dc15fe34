#pragma once

#include <cstdint>
#include <opencv2/core.hpp>

#include "core/pixel_region.h"

namespace kel::mask {

// Dilates (amount > 0) or erodes src into dst with an ellipse of |amount| + 1 pixels; pixels
// outside the image do not count. Both CV_8UC1 of one size, not overlapping. Returns
// MVK_BAD_ARGUMENT, and leaves dst alone, for other types and amount 0.
[[nodiscard]] uint32_t morph_trans(const cv::Mat& src, cv::Mat& dst, int32_t amount);

// The same on GRAY regions of one size, rows packed, which may overlap. Amount 0 empties dst and
// returns MVK_BAD_ARGUMENT.
[[nodiscard]] uint32_t morph_trans(const KelPixelRegion& src, const KelPixelRegion& dst,
                                   int32_t amount);

}  // namespace kel::mask
