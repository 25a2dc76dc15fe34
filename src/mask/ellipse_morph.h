// Dilation and erosion with an elliptic kernel in a few vector operations per kernel row.
//
// Every row of the ellipse is one horizontal run. The maximum over any run of pixels is the larger
// of two overlapping runs whose length is a power of two, and maxima over those are made by
// doubling (the sparse table for range maxima: Bender and Farach-Colton, "The LCA problem
// revisited", 2000). So each input row is doubled up once, and for each run of the kernel its
// maxima go into the output rows that see the input row through that run.
#pragma once

#include <cstdint>
#include <opencv2/core.hpp>

namespace kel::mask {

// Same bytes as cv::morphologyEx with `kernel` as its element, the anchor in its centre and the
// default border. Every row of kernel must be one run that holds the centre column. src and dst
// are CV_8UC1, of one size, and do not overlap.
void morph_runs(const cv::Mat& src, cv::Mat& dst, const cv::Mat& kernel, bool dilate);

// One run of the kernel: its maxima are those of two entries of table `level`.
struct KernelRun {
  int32_t level;   // maxima over 2^level pixels
  int32_t first;   // where the run starts, counted from the left end of the padded row
  int32_t second;  // where the table entry starts that ends with the run
  int32_t rows;    // kernel rows that have this run
};

// What one input row does to the output rows that it reaches.
struct RowSpread {
  uint8_t* tables;  // level 0: the padded row; the others are scratch
  int64_t stride;   // bytes of a table
  int32_t levels;   // tables to fill
  int32_t width;    // output columns, a multiple of 64
  const KernelRun* runs;
  int32_t run_count;
  uint8_t* const* targets;  // output rows, in the order of the runs; null where none is wanted
  uint8_t* unused;          // a row for the other half of a pair
};

}  // namespace kel::mask
