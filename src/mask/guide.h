// The photograph that the edges of a mask snap to, at the size of that mask: only what is asked for
// is scaled.
#pragma once

#include <cstdint>
#include <opencv2/core.hpp>
#include <vector>

#include "core/kernels/scaled_brightness.h"
#include "core/resample/axis.h"

namespace kel::mask {

class Guide {
 public:
  // What a row of brightness may be longer than asked for.
  static constexpr int32_t kSlack = imgproc::BrightnessColumns::kAtOnce;

  // Bilinear scaling of `photo`, CV_8UC3, which must outlive this, to `size`.
  Guide(const cv::Mat& photo, cv::Size size);
  explicit Guide(const cv::Mat& photo) : Guide(photo, photo.size()) {}

  cv::Size size() const { return size_; }

  // to[i] = the length of the colour vector, rounded down, of the pixel in row y, column x + i.
  // Columns are inside, but the last may be the one behind the row, which is the next row's first
  // pixel; behind the last row it counts as 0.
  void brightness(int16_t* to, int32_t x, int32_t y, int32_t count) const;
  // Has the pixels that this needs brought to the cache.
  void prefetch(int32_t x, int32_t y, int32_t count) const;

 private:
  // A column whose weights do not add up to 2048.
  struct Uneven {
    int32_t x;
    int32_t left_weight;
    int32_t right_weight;
  };

  void set_column(int32_t x);
  void inside_row(int16_t* to, int32_t x, int32_t y, int32_t count) const;
  int16_t uneven_brightness(const imgproc::BrightnessRows& rows, const Uneven& column) const;

  cv::Size size_;
  cv::Mat photo_;
  imgproc::Axis across_;
  imgproc::BrightnessColumns columns_;
  std::vector<imgproc::BrightnessRows> rows_;
  std::vector<Uneven> uneven_;  // from left to right
};

}  // namespace kel::mask
