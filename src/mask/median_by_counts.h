// The median of a mask by counting.
//
// Where more than half of a window is 0, or more than half is 255, the median is known without
// looking further. Both counts slide: along the row as sums over runs of doubled length, from row
// to row by adding the row that enters and taking away the one that leaves. The pixels in between,
// on soft edges, get their median from a histogram that walks along them (Huang, Yang and Tang, "A
// fast two-dimensional median filtering algorithm", 1979).
#pragma once

#include <cstdint>
#include <opencv2/core.hpp>

namespace kel::mask {

// Whether counting pays: kernels and images of a size where OpenCV's cost and memory exceed it.
bool can_count_median(const cv::Mat& src, int32_t ksize);

// Same bytes as cv::medianBlur, CV_8UC1 to CV_8UC1 of one size that do not overlap, for what
// can_count_median() accepts. Images in which too little is 0 or 255 go to cv::medianBlur, from
// the row on where that turns out to be cheaper.
void median_by_counts(const cv::Mat& src, cv::Mat& dst, int32_t ksize);

// Counts of one image row: counts[x] = pixels of padded[x, x + ksize) that equal value.
struct RowCount {
  const uint8_t* padded;
  int32_t width;
  int32_t ksize;
  uint8_t value;
  uint8_t* scratch;  // width + ksize bytes and a vector
  uint8_t* counts;
};

// One of the two counts of the windows of a row, with the rows that enter and leave them.
struct WindowCount {
  uint16_t* sums;
  const uint8_t* entering;
  const uint8_t* leaving;
};

struct RowDecision {
  int32_t width;
  uint16_t majority;
  WindowCount zeros;  // sums is null where every pixel is 0 or 255
  WindowCount fulls;
  uint8_t* result;  // 255 where the 255s have the majority, else 0
  uint8_t* open;    // 255 where neither has it
};

}  // namespace kel::mask
