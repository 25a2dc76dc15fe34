// Medians of some pixels of a mask: those that no majority of 0 or 255 decides.
//
// They come from histograms of columns as in Perreault and Hebert, "Median filtering in constant
// time" (2007), with two changes: a column is brought up to date only when a window needs it, and
// the histograms are cumulative, so that a pixel is added by one vector of 16 counts, and a value
// found by comparing 16 counts at once.
#pragma once

#include <cstdint>
#include <opencv2/core.hpp>
#include <vector>

#include "core/uninitialised.h"

namespace kel::mask {

class OpenMedians {
 public:
  static constexpr int32_t kBlock = 512;  // columns of a block at most, for the cache

  // src is CV_8UC1 and must outlive this; ksize is odd.
  OpenMedians(const cv::Mat& src, int32_t ksize);

  // Goes to the top of the block of `width` columns that starts at `left`.
  void start(int32_t left, int32_t width);

  // result[x] = the median around pixel left + x of row y where bit x of `open` is set; the others
  // are left alone, bits behind the block are 0. y must not decrease within a block.
  void select(const uint64_t* open, int32_t y, uint8_t* result);

 private:
  template <typename Value>
  using Buffer = std::vector<Value, Uninitialised<Value>>;

  int32_t find(const uint64_t* open, int32_t x, bool is_set) const;

  const cv::Mat& src_;
  const int32_t radius_;
  int32_t left_ = 0;
  int32_t width_ = 0;
  Buffer<int32_t> centres_;
  Buffer<uint8_t> groups_;
  Buffer<uint8_t> values_;
};

}  // namespace kel::mask
