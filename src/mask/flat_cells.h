// What the Gaussian of a mask need not compute: windows of one value give that value, as its taps
// add up to 1 in its fixed-point numbers.
#pragma once

#include <cstdint>
#include <functional>
#include <opencv2/core.hpp>

namespace kel::mask {

// Whether a gray image has many pixels of 0 or 255: a quarter of those in every eighth row.
bool looks_like_mask(const cv::Mat& image);

// Fills those cells of dst whose windows, of up to `radius` pixels to each side, have one value in
// src; calls filter() for rectangles that cover the others, on OpenCV's threads. src is CV_8UC1.
void for_each_open_area(const cv::Mat& src, cv::Mat& dst, int32_t radius,
                        const std::function<void(const cv::Rect&)>& filter);

}  // namespace kel::mask
