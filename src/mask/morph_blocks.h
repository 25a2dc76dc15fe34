// Dilation and erosion with small elliptic kernels, in blocks of 64 columns.
#pragma once

#include <opencv2/core.hpp>

#include "core/kernels/spread_ellipse.h"

namespace kel::mask {

inline constexpr int32_t kLargestForBlocks = imageprocess::kLargestSmallEllipse;  // side
inline constexpr int32_t kNarrowestForBlocks = imageprocess::kSpreadColumns;      // image

// Same bytes as morph_runs(). A row of the ellipse is a run of pixels, and the shorter ones are
// within the longer: a row's extremes over all of them cost as much as over the longest. Blocks
// that are black or white all around are filled.
void morph_blocks(const cv::Mat& src, cv::Mat& dst, int32_t side, bool dilate);

}  // namespace kel::mask
