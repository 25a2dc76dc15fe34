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
#include "core/row_bands.h"

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

// The last row of the source that a row which mixes `count` rows up to `last` makes worth having:
// when no row is left out, the following ones come next.
inline int64_t last_wanted_row(const Axis& axis, int64_t last, int64_t count) {
  return axis.scale < static_cast<double>(count) ? axis.src - 1 : last;
}

// Columns of the result, first to end, that are made at once: tables and rows stay small.
struct Columns {
  int64_t first;
  int64_t end;
};

void scale_nearest(const Scaling& scaling);
void scale_linear(const Scaling& scaling, Place (*place)(const Axis&, int64_t));
bool enlarge_mask(const Scaling& scaling);  // as scale_linear; false if it would not be faster
void scale_cubic(const Scaling& scaling);
void scale_by_area(const Scaling& scaling);                                   // not below 1
void scale_by_blocks(const Scaling& scaling, int64_t width, int64_t height);  // whole factors

// Makes a Method for a few columns at a time, which is asked for ranges of rows.
template <typename Method, typename... Details>
void scale_with(const Scaling& scaling, Details... details) {
  constexpr int64_t kColumns = 2048;
  constexpr int32_t kLeastRows = 16;  // a band scales up to three rows of the source anew
  for (int64_t first = 0; first < scaling.dst.cols; first += kColumns) {
    const Columns columns{first, std::min<int64_t>(first + kColumns, scaling.dst.cols)};
    const Method method(scaling, columns, details...);
    for_each_band(scaling.dst, kLeastRows,
                  [&](const cv::Range& rows) { method.run(rows.start, rows.end); });
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

  // Bytes from row y to row `next`, 0 when there is none.
  int64_t ahead(int64_t y, int64_t next) const {
    return is_short_ || next >= src_.rows ? 0 : (next - y) * static_cast<int64_t>(src_.step[0]);
  }
  // Good until the next row but one is asked for.
  const uint8_t* row(int64_t y) {
    const uint8_t* row = src_.ptr(static_cast<int>(y));
    if (!is_short_) return row;
    uint8_t* copy = copies_[static_cast<size_t>(y % 2)].data();
    std::memcpy(copy, row, static_cast<size_t>(row_bytes(src_)));
    return copy;
  }

 private:
  const cv::Mat& src_;
  bool is_short_;
  std::array<std::array<uint8_t, ByteGather::kBlock>, 2> copies_{};
};

// The last few rows that were scaled across, by their number in the source.
template <typename Value>
class RecentRows {
 public:
  // Keeps `rows` rows that follow each other, and one more.
  RecentRows(const Scaling& scaling, size_t rows, int64_t length)
      : source_(scaling.src),
        last_(scaling.y.src - 1),
        turn_(std::max<int64_t>(static_cast<int64_t>(scaling.y.scale), 2)),
        length_(static_cast<size_t>(length)),
        values_((rows + 1) * length_),
        numbers_(rows + 1, -1) {}

  // Row y, or the outermost one. make(rows) is called if it is not there, for the one after it,
  // too, if that will be wanted.
  template <typename Make>
  const Value* row(int64_t y, int64_t last_wanted, Make make) {
    y = std::clamp<int64_t>(y, 0, last_);
    if (!has(y)) {
      RowsAcross<Value> rows;
      add(rows, y);
      if (y < std::min(last_, last_wanted) && !has(y + 1)) add(rows, y + 1);
      rows.ahead = source_.ahead(y, y + turn_ + 1) == 0 ? 0 : source_.ahead(y, y + turn_);
      make(rows);
    }
    return values(y);
  }

 private:
  size_t slot(int64_t y) const { return static_cast<size_t>(y) % numbers_.size(); }
  bool has(int64_t y) const { return numbers_[slot(y)] == y; }
  Value* values(int64_t y) { return values_.data() + slot(y) * length_; }
  void add(RowsAcross<Value>& rows, int64_t y) {
    const auto i = static_cast<size_t>(rows.count++);
    rows.from[i] = source_.row(y);
    rows.to[i] = values(y);
    numbers_[slot(y)] = y;
  }

  SourceRows source_;
  int64_t last_;
  int64_t turn_;  // rows from one turn to the next, about
  size_t length_;
  std::vector<Value> values_;
  std::vector<int64_t> numbers_;
};

}  // namespace kel::imgproc
