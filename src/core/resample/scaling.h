// What the methods of scaling have in common.
#pragma once

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>
#include <opencv2/core/mat.hpp>
#include <opencv2/core/utility.hpp>
#include <vector>

#include "core/kernels/byte_gather.h"
#include "core/resample/axis.h"

namespace kel::imgproc {

// A plane and its scaled copy, of bytes with the same number of channels.
struct Scaling {
  cv::Mat dst;
  cv::Mat src;
  Axis x;
  Axis y;

  Scaling(const cv::Mat& to, const cv::Mat& from)
      : dst(to), src(from), x(from.cols, to.cols), y(from.rows, to.rows) {}

  int channels() const { return src.channels(); }
  uint8_t* dst_at(int64_t column, int64_t row) const {
    return dst.data + row * static_cast<int64_t>(dst.step[0]) + column * channels();
  }
};

// Columns of the result, first to end, that are made at once: tables and rows stay small.
struct Columns {
  int64_t first;
  int64_t end;
};

void scale_nearest(const Scaling& scaling);
void scale_linear(const Scaling& scaling, Place (*place)(const Axis&, int64_t));
void scale_cubic(const Scaling& scaling);
void scale_by_area(const Scaling& scaling);                                   // not below 1
void scale_by_blocks(const Scaling& scaling, int64_t width, int64_t height);  // whole factors

// Runs work(first row, end) for all rows of the result, shared over OpenCV's threads if there are
// many pixels.
template <typename Work>
void share_rows(const cv::Mat& dst, const Work& work) {
  constexpr double kPixelsOfAShare = 1 << 16;
  const double shares = static_cast<double>(dst.total()) / kPixelsOfAShare;
  if (shares < 2) return work(0, dst.rows);
  cv::parallel_for_(
      {0, dst.rows}, [&](const cv::Range& rows) { work(rows.start, rows.end); }, shares);
}

// Makes a Method for a few columns at a time, which is asked for ranges of rows.
template <typename Method, typename... Details>
void scale_with(const Scaling& scaling, Details... details) {
  constexpr int64_t kColumns = 2048;
  for (int64_t first = 0; first < scaling.dst.cols; first += kColumns) {
    const Columns columns{first, std::min<int64_t>(first + kColumns, scaling.dst.cols)};
    const Method method(scaling, columns, details...);
    share_rows(scaling.dst, [&](int64_t top, int64_t end) { method.run(top, end); });
  }
}

// Rows as byte_gather takes them: those that are too short for it are copied.
class SourceRows {
 public:
  explicit SourceRows(const cv::Mat& src)
      : src_(src), is_short_(row_bytes(src) < ByteGather::kBlock) {}

  static int64_t row_bytes(const cv::Mat& src) { return int64_t{src.cols} * src.channels(); }
  static int64_t gathered_bytes(const cv::Mat& src) {
    return std::max(row_bytes(src), ByteGather::kBlock);
  }

  // Good until the next call; rows outside are the outermost ones.
  const uint8_t* row(int64_t y) {
    const auto inside = static_cast<int>(std::clamp<int64_t>(y, 0, src_.rows - 1));
    if (!is_short_) return src_.ptr(inside);
    std::memcpy(copy_.data(), src_.ptr(inside), static_cast<size_t>(row_bytes(src_)));
    return copy_.data();
  }

 private:
  const cv::Mat& src_;
  bool is_short_;
  std::array<uint8_t, ByteGather::kBlock> copy_{};
};

// The last few rows that were scaled across, by their number in the source.
template <typename Value>
class RecentRows {
 public:
  RecentRows(size_t rows, int64_t length)
      : length_(static_cast<size_t>(length)), values_(rows * length_), numbers_(rows, -1) {}

  // make(values) is called if row y is not there.
  template <typename Make>
  const Value* row(int64_t y, Make make) {
    const size_t slot = static_cast<size_t>(y) % numbers_.size();
    Value* values = values_.data() + slot * length_;
    if (numbers_[slot] != y) make(values);
    numbers_[slot] = y;
    return values;
  }

 private:
  size_t length_;
  std::vector<Value> values_;
  std::vector<int64_t> numbers_;
};

}  // namespace kel::imgproc
