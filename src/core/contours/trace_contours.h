// Border following in place: the contours of an image of shapes and how they nest.
#pragma once

#include <cstdint>
#include <opencv2/core.hpp>

#include "core/contours/contours.h"

namespace kel {

// What shapes are made of; the rest is 0.
inline constexpr uint8_t kShape = 1;

// An 8-bit image inside of memory that goes on by one pixel of 0 on each side, so that the tracer
// can step over the border. The pixels themselves are not set. Sides are at most 2^30.
cv::Mat make_framed_image(cv::Size size);

// The same with kShape where `gray` (CV_8UC1) is above `level`.
cv::Mat frame_shapes(const cv::Mat& gray, uint8_t level);

// The contours of an image from make_framed_image() that holds 0 and kShape only: the lists of
// cv::findContours with cv::RETR_TREE, in its order. That call works on a copy, this one leaves
// marks in the image while it runs and takes them away again. `approximation` is
// cv::CHAIN_APPROX_NONE or cv::CHAIN_APPROX_SIMPLE.
//
// After S. Suzuki and K. Abe, "Topological structural analysis of digitized binary images by border
// following", Computer Vision, Graphics, and Image Processing 30 (1985).
void trace_contours(cv::Mat& image, int approximation, Contours& contours, Hierarchy& hierarchy);

}  // namespace kel
