#include "mask/fill_gaps.h"

#include <algorithm>
#include <cstring>
#include <vector>

#include "core/contours/bit_mask.h"
#include "core/kernels/bits_of_row.h"

namespace kel::mask {
namespace {

// Runs of unset pixels, joined into areas from row to row.
class Gaps {
 public:
  Gaps(const cv::Mat& src, uint8_t level)
      : src_(src),
        level_(level),
        most_(std::min(kGapsOfARow * static_cast<size_t>(src.rows),
                       kUsual + std::min(src.total() / kPixelsOfAGap, kLargest))),
        here_(src.cols, 1),
        above_(src.cols, 1) {
    gaps_.reserve(kUsual);
    gaps_.push_back({0, 0, kOutside});
  }

  // Whether there are few enough.
  bool find();
  bool can_fill_more_than(int64_t area);
  void write(cv::Mat& dst);

 private:
  static constexpr size_t kGapsOfARow = 8;     // with more a flood by words is as good
  static constexpr size_t kPixelsOfAGap = 32;  // so that gaps take less memory than the image
  static constexpr size_t kLargest = size_t{1} << 30;
  static constexpr size_t kUsual = 4096;
  static constexpr int32_t kOutside = 0;  // the area at the border

  // Columns [begin, end).
  struct Gap {
    int32_t begin;
    int32_t end;
    int32_t area;  // another gap of it, or itself
  };
  struct Row {
    int32_t first;  // gap
    int32_t end;
  };

  Gap& gap(int32_t i) { return gaps_[static_cast<size_t>(i)]; }
  bool is_enclosed(int32_t i) { return area_of(i) != kOutside; }
  int32_t area_of(int32_t i) {
    while (gap(i).area != i) i = gap(i).area = gap(gap(i).area).area;
    return i;
  }
  void join(int32_t a, int32_t b) {
    a = area_of(a);
    b = area_of(b);
    gap(std::max(a, b)).area = std::min(a, b);
  }
  Row find_row();
  void add(int32_t begin, int32_t end);
  void link(Row above, Row here);

  const cv::Mat& src_;
  uint8_t level_;
  size_t most_;
  BitMask here_;  // a row
  BitMask above_;
  std::vector<Gap> gaps_;
  std::vector<Row> rows_;  // a row that is like the one above has the same gaps
};

bool Gaps::find() {
  const size_t bytes = sizeof(uint64_t) * static_cast<size_t>(here_.row_words());
  rows_.reserve(static_cast<size_t>(src_.rows));
  for (int y = 0; y < src_.rows; ++y) {
    imageprocess::bits_above(here_.row(0), src_.ptr(y), src_.cols, level_);
    if (y > 0 && std::memcmp(here_.row(0), above_.row(0), bytes) == 0) {
      rows_.push_back(rows_.back());
      continue;
    }
    const Row here = find_row();
    if (gaps_.size() > most_) return false;
    if (y > 0) link(rows_.back(), here);
    rows_.push_back(here);
    std::swap(here_, above_);
  }
  for (const Row row : {rows_.front(), rows_.back()}) {
    for (int32_t i = row.first; i < row.end; ++i) join(i, kOutside);
  }
  return true;
}

Gaps::Row Gaps::find_row() {
  const auto first = static_cast<int32_t>(gaps_.size());
  int32_t at = 0;
  here_.for_each_run(0, [&](int32_t begin, int32_t end) {
    if (begin > at) add(at, begin);
    at = end;
  });
  if (at < src_.cols) add(at, src_.cols);
  return {first, static_cast<int32_t>(gaps_.size())};
}

void Gaps::add(int32_t begin, int32_t end) {
  if (gaps_.size() > most_) return;
  const bool is_outside = begin == 0 || end == src_.cols;
  gaps_.push_back({begin, end, is_outside ? kOutside : static_cast<int32_t>(gaps_.size())});
}

void Gaps::link(Row above, Row here) {
  while (above.first < above.end && here.first < here.end) {
    const Gap& upper = gap(above.first);
    const Gap& lower = gap(here.first);
    if (upper.begin < lower.end && lower.begin < upper.end) join(above.first, here.first);
    upper.end < lower.end ? ++above.first : ++here.first;
  }
}

// By a box around all that is enclosed, and the pixels around that.
bool Gaps::can_fill_more_than(int64_t area) {
  if (static_cast<int64_t>(src_.total()) <= area) return false;
  cv::Range columns(src_.cols, 0);
  cv::Range rows(src_.rows, 0);
  for (int y = 0; y < src_.rows; ++y) {
    const Row row = rows_[static_cast<size_t>(y)];
    for (int32_t i = row.first; i < row.end; ++i) {
      if (!is_enclosed(i)) continue;
      columns = {std::min(columns.start, gap(i).begin), std::max(columns.end, gap(i).end)};
      rows = {std::min(rows.start, y), y + 1};
    }
  }
  return columns.start < columns.end && (int64_t{columns.size()} + 1) * (rows.size() + 1) > area;
}

void Gaps::write(cv::Mat& dst) {
  for (int y = 0; y < dst.rows; ++y) {
    const Row row = rows_[static_cast<size_t>(y)];
    uint8_t* const to = dst.ptr(y);
    int32_t at = 0;
    const auto fill_up_to = [&](int32_t end, int value) {
      std::memset(to + at, value, static_cast<size_t>(end - at));
      at = end;
    };
    for (int32_t i = row.first; i < row.end; ++i) {
      if (is_enclosed(i)) continue;
      fill_up_to(gap(i).begin, 255);
      fill_up_to(gap(i).end, 0);
    }
    fill_up_to(dst.cols, 255);
  }
}

}  // namespace

bool fill_gaps(const cv::Mat& src, cv::Mat& dst, uint8_t level, int64_t large) {
  Gaps gaps(src, level);
  if (!gaps.find() || gaps.can_fill_more_than(large)) return false;
  gaps.write(dst);
  return true;
}

}  // namespace kel::mask
