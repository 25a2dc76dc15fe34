// The median of a mask by counting.
//
// Where more than half of a window is 0, or more than half is 255, the median is known without
// looking further. Both counts slide: along the row as sums over runs of doubled length, from row
// to row by adding the row that enters and taking away the one that leaves.
//
// Pixels without a majority, those on soft edges, get their median from histograms of columns as in
// Perreault and Hebert, "Median filtering in constant time" (2007), with two changes: a column is
// brought up to date only when a window needs it, and the histograms are cumulative, so that a
// pixel is added by one vector of 16 counts, and a value found by comparing 16 counts at once.
#pragma once

#include <cstdint>
#include <opencv2/core.hpp>

namespace kel::mask {

// Same bytes as cv::medianBlur; ksize is odd and below 200, src and dst are CV_8UC1, of one size,
// and do not overlap.
void median_by_counts(const cv::Mat& src, cv::Mat& dst, int32_t ksize);

// Counts of one image row: counts[x] = pixels of padded[x, x + ksize) that equal value.
struct RowCount {
  const uint8_t* padded;
  int32_t width;
  int32_t ksize;
  uint8_t value;
  uint8_t* scratch;  // width + ksize bytes and two vectors
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

// Histograms of the columns that the windows of a block of pixels reach, border columns repeated:
// the window of pixel x holds columns x to x + 2 * radius.
struct ColumnHistograms {
  const cv::Mat* src;
  int32_t radius;
  int32_t columns;
  int32_t left;     // source column of column 0, may lie outside
  int32_t* centre;  // row about which the column was counted last, or kNever
  uint8_t* groups;  // [column][16]: pixels whose upper four bits are at most i
  uint8_t* values;  // [group][column][16]: pixels of the group whose lower four are at most i
  static constexpr int32_t kNever = INT32_MIN / 2;

  // Row y, the border rows repeated.
  const uint8_t* row(int64_t y) const {
    const int64_t end = src->rows - 1;
    return src->ptr(static_cast<int>(y < 0 ? 0 : y < end ? y : end));
  }
};

}  // namespace kel::mask
