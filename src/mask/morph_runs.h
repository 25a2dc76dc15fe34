// Dilation and erosion with an elliptic kernel, in a few vector operations per kernel row along the
// edges of a mask.
//
// Every row of the ellipse is one horizontal run. The maximum over any run of pixels is the larger
// of two overlapping runs whose length is a power of two, and maxima over those are made by
// doubling (the sparse table for range maxima: Bender and Farach-Colton, "The LCA problem
// revisited", 2000). So the tables of each input row are made once, and for each run of the
// kernel the maxima go into the output rows that the input row reaches through that run.
//
// The runs become shorter with each row away from the kernel's centre. So a pixel changes nothing
// in the rows above it if the pixel above is as strong: that one reaches as far, and further; and
// likewise below, and to the sides. Flat areas have nothing to spread.
#pragma once

#include <cstdint>
#include <opencv2/core.hpp>

namespace kel::mask {

// Same bytes as cv::morphologyEx with an ellipse of side x side pixels as its element, the anchor
// in its centre and the default border. side is 2 to 201, src and dst are CV_8UC1, of one size, and
// do not overlap.
void morph_runs(const cv::Mat& src, cv::Mat& dst, int32_t side, bool dilate);

}  // namespace kel::mask
