// Bilinear enlargement of masks that are kept as bits; for those of bytes there is resize_plane().
#pragma once

#include <cstdint>
#include <functional>
#include <opencv2/core/mat.hpp>

#include "core/contours/bit_mask.h"

namespace kel::imgproc {

// Same bytes as resize_plane() with linear interpolation for a mask of 255 where a bit is set, and
// 0; dst is CV_8UC1.
void enlarge(cv::Mat& dst, const BitMask& src);

// The pixels of a mask, CV_8UC1, scaled to `size` that are above a level.
BitMask enlarged_above(const cv::Mat& src, cv::Size size, uint8_t level);

// Calls visit(rows, band) for the bands of rows of a mask, CV_8UC1, scaled to the size of dst, on
// OpenCV's threads: `rows` are those of the band and, where there are so many, `halo` above and
// below it. Returns false, and calls nothing, unless the mask has 16 columns and both sides grow.
bool for_each_enlarged_band(const cv::Mat& src, const cv::Mat& dst, int32_t halo,
                            const std::function<void(const cv::Mat&, const cv::Range&)>& visit);

}  // namespace kel::imgproc
