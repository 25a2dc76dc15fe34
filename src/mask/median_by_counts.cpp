#include "mask/median_by_counts.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <vector>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "mask/median_by_counts.cpp"
#include <hwy/foreach_target.h>
// After foreach_target.h
#include <hwy/highway.h>

#ifndef MORVIK_MASK_MEDIAN_BY_COUNTS
#define MORVIK_MASK_MEDIAN_BY_COUNTS
namespace kel::mask {

// kFrom[digit]: what a pixel with that digit adds to sixteen cumulative counts.
// clang-format off
inline constexpr uint8_t kFrom[16][16] = {
    {1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1},
    {0, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1},
    {0, 0, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1},
    {0, 0, 0, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1},
    {0, 0, 0, 0, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1},
    {0, 0, 0, 0, 0, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1},
    {0, 0, 0, 0, 0, 0, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1},
    {0, 0, 0, 0, 0, 0, 0, 1, 1, 1, 1, 1, 1, 1, 1, 1},
    {0, 0, 0, 0, 0, 0, 0, 0, 1, 1, 1, 1, 1, 1, 1, 1},
    {0, 0, 0, 0, 0, 0, 0, 0, 0, 1, 1, 1, 1, 1, 1, 1},
    {0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 1, 1, 1, 1, 1, 1},
    {0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 1, 1, 1, 1, 1},
    {0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 1, 1, 1, 1},
    {0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 1, 1, 1},
    {0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 1, 1},
    {0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 1},
};
// clang-format on

}  // namespace kel::mask
#endif

HWY_BEFORE_NAMESPACE();
namespace kel::mask::HWY_NAMESPACE {

namespace hn = hwy::HWY_NAMESPACE;
using Bytes = hn::CappedTag<uint8_t, 64>;
using Words = hn::CappedTag<uint16_t, 32>;
using HalfBytes = hn::Rebind<uint8_t, Words>;

// Sums over 1, 2, 4 ... pixels; those of the binary digits of ksize, side by side, make the window.
void count_row(const RowCount& row) {
  const Bytes d;
  const auto step = static_cast<int64_t>(hn::Lanes(d));
  const auto value = hn::Set(d, row.value);
  const auto one = hn::Set(d, uint8_t{1});
  int64_t reach = row.width + row.ksize;
  for (int64_t x = 0; x < reach; x += step) {
    const auto equal = hn::Eq(hn::LoadU(d, row.padded + x), value);
    hn::StoreU(hn::IfThenElseZero(equal, one), d, row.scratch + x);
  }
  int64_t at = 0;
  for (int64_t run = 1; run <= row.ksize; run *= 2) {
    if ((row.ksize & run) != 0) {
      for (int64_t x = 0; x < row.width; x += step) {
        const auto sum = hn::LoadU(d, row.scratch + at + x);
        const auto old = run == 1 ? hn::Zero(d) : hn::LoadU(d, row.counts + x);
        hn::StoreU(hn::Add(old, sum), d, row.counts + x);
      }
      at += run;
    }
    reach -= run;
    for (int64_t x = 0; 2 * run <= row.ksize && x < reach; x += step) {
      const auto left = hn::LoadU(d, row.scratch + x);
      hn::StoreU(hn::Add(left, hn::LoadU(d, row.scratch + run + x)), d, row.scratch + x);
    }
  }
}

// The window's count after the step to this row, in the words x ... of it.
HWY_INLINE hn::Vec<Words> slide(const WindowCount& count, int64_t x) {
  const Words d;
  const HalfBytes bytes;
  const auto entering = hn::PromoteTo(d, hn::LoadU(bytes, count.entering + x));
  const auto leaving = hn::PromoteTo(d, hn::LoadU(bytes, count.leaving + x));
  const auto sum = hn::Sub(hn::Add(hn::LoadU(d, count.sums + x), entering), leaving);
  hn::StoreU(sum, d, count.sums + x);
  return sum;
}

HWY_INLINE void store_mask(hn::Mask<Words> mask, uint8_t* to) {
  const Words d;
  const auto bytes = hn::ShiftRight<8>(hn::VecFromMask(d, mask));
  const hn::RebindToSigned<Words> narrowing;
  hn::StoreU(hn::DemoteTo(HalfBytes(), hn::BitCast(narrowing, bytes)), HalfBytes(), to);
}

void decide_row(const RowDecision& row) {
  const Words d;
  const auto step = static_cast<int64_t>(hn::Lanes(d));
  const auto majority = hn::Set(d, row.majority);
  for (int64_t x = 0; x < row.width; x += step) {
    const auto fulls = slide(row.fulls, x);
    const auto is_full = hn::Eq(hn::Max(fulls, majority), fulls);
    store_mask(is_full, row.result + x);
    if (row.zeros.sums == nullptr) continue;
    const auto zeros = slide(row.zeros, x);
    const auto is_zero = hn::Eq(hn::Max(zeros, majority), zeros);
    store_mask(hn::Not(hn::Or(is_full, is_zero)), row.open + x);
  }
}

using Counts = hn::CappedTag<uint16_t, 16>;
using Column = hn::CappedTag<uint8_t, 16>;

// Counts one pixel in (Sign 1) or out of a column.
template <int Sign>
HWY_INLINE void count_pixel(const ColumnHistograms& all, int64_t column, uint8_t value) {
  const Column d;
  const auto count = [&d](uint8_t* to, int digit) {
    for (size_t i = 0; i < 16; i += hn::Lanes(d)) {
      const auto step = hn::LoadU(d, kFrom[digit] + i);
      const auto old = hn::LoadU(d, to + i);
      hn::StoreU(Sign > 0 ? hn::Add(old, step) : hn::Sub(old, step), d, to + i);
    }
  };
  count(all.groups + 16 * column, value >> 4);
  count(all.values + 16 * ((value >> 4) * int64_t{all.columns} + column), value & 15);
}

HWY_INLINE int64_t clamp_to(int64_t at, int64_t end) {
  return at < 0 ? 0 : at < end ? at : end - 1;
}

// Counts a column about row y from nothing.
void restart_column(const ColumnHistograms& all, int64_t column, int32_t y) {
  const int64_t x = clamp_to(all.left + column, all.src->cols);
  std::memset(all.groups + 16 * column, 0, 16);
  for (int64_t group = 0; group < 16; ++group) {
    std::memset(all.values + 16 * (group * all.columns + column), 0, 16);
  }
  for (int32_t i = -all.radius; i <= all.radius; ++i) {
    count_pixel<1>(all, column, all.row(y + i)[x]);
  }
  all.centre[column] = y;
}

// Moves columns [first, last] down to row `to`, where they are not there yet.
HWY_INLINE void move_columns(const ColumnHistograms& all, int64_t first, int64_t last, int32_t to) {
  const uint8_t* leaving_row = all.row(to - 1 - all.radius);
  const uint8_t* entering_row = all.row(to + all.radius);
  for (int64_t column = first; column <= last; ++column) {
    if (all.centre[column] != to - 1) continue;
    all.centre[column] = to;
    const int64_t x = clamp_to(all.left + column, all.src->cols);
    const uint8_t leaving = leaving_row[x];
    const uint8_t entering = entering_row[x];
    if (leaving == entering) continue;
    count_pixel<-1>(all, column, leaving);
    count_pixel<1>(all, column, entering);
  }
}

// Brings columns [first, last] to the windows of row y.
void update_columns(const ColumnHistograms& all, int64_t first, int64_t last, int32_t y) {
  int32_t oldest = y;
  for (int64_t column = first; column <= last; ++column) {
    if (y - all.centre[column] > all.radius) restart_column(all, column, y);
    if (all.centre[column] < oldest) oldest = all.centre[column];
  }
  while (oldest < y) move_columns(all, first, last, ++oldest);
}

// Sixteen cumulative counts of a window.
struct WindowCounts {
  alignas(32) uint16_t counts[16];

  // Takes consecutive columns in (Sign 1) or out.
  template <int Sign>
  HWY_INLINE void take(const uint8_t* columns, int64_t count) {
    const Counts d;
    const hn::Rebind<uint8_t, Counts> bytes;
    for (size_t i = 0; i < 16; i += hn::Lanes(d)) {
      auto sum = hn::Load(d, counts + i);
      for (int64_t x = 0; x < count; ++x) {
        const auto column = hn::PromoteTo(d, hn::LoadU(bytes, columns + 16 * x + i));
        sum = Sign > 0 ? hn::Add(sum, column) : hn::Sub(sum, column);
      }
      hn::Store(sum, d, counts + i);
    }
  }

  HWY_INLINE void clear() {
    const Counts d;
    for (size_t i = 0; i < 16; i += hn::Lanes(d)) hn::Store(hn::Zero(d), d, counts + i);
  }

  // The first of the sixteen whose count is above rank, which is narrowed to a rank within it.
  HWY_INLINE int32_t find(int32_t& rank) const {
    const Counts d;
    const auto limit = hn::Set(d, static_cast<uint16_t>(rank));
    size_t found = 0;
    for (size_t i = 0; i < 16; i += hn::Lanes(d)) {
      const auto count = hn::Load(d, counts + i);
      found += hn::CountTrue(d, hn::Eq(hn::Min(count, limit), count));
    }
    if (found > 0) rank -= counts[found - 1];
    return static_cast<int32_t>(found);
  }
};

// Medians of the open pixels of [first, last] in row y.
void select_run(const ColumnHistograms& all, const uint8_t* open, int32_t first, int32_t last,
                int32_t y, uint8_t* result) {
  const int32_t side = 2 * all.radius + 1;
  update_columns(all, first, last + side - 1, y);
  WindowCounts groups;
  WindowCounts values[16];
  int32_t place[16];  // where the window stands that values[group] counts
  for (int32_t& x : place) x = -side;
  groups.clear();
  groups.take<1>(all.groups + 16 * int64_t{first}, side);
  for (int32_t x = first; x <= last; ++x) {
    if (x > first) {
      groups.take<-1>(all.groups + 16 * (int64_t{x} - 1), 1);
      groups.take<1>(all.groups + 16 * (int64_t{x} + side - 1), 1);
    }
    if (open[x] == 0) continue;
    int32_t rank = side * side / 2;
    const int32_t group = groups.find(rank);
    const uint8_t* columns = all.values + 16 * (group * int64_t{all.columns});
    WindowCounts& window = values[group];
    const int32_t moved = x - place[group];
    if (2 * moved < side) {
      window.take<-1>(columns + 16 * int64_t{place[group]}, moved);
      window.take<1>(columns + 16 * (int64_t{place[group]} + side), moved);
    } else {
      window.clear();
      window.take<1>(columns + 16 * int64_t{x}, side);
    }
    place[group] = x;
    result[x] = static_cast<uint8_t>(16 * group + window.find(rank));
  }
}

}  // namespace kel::mask::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace kel::mask {
namespace {

HWY_EXPORT(count_row);
HWY_EXPORT(decide_row);
HWY_EXPORT(select_run);

constexpr int32_t kVector = 64;   // longest vector in bytes
constexpr int32_t kBlock = 1024;  // columns worked on at a time, for the cache

// Whether every pixel is 0 or 255.
bool is_binary(const cv::Mat& image) {
  uint8_t between = 0;
  for (int32_t y = 0; y < image.rows && between == 0; ++y) {
    const uint8_t* row = image.ptr(y);
    for (int32_t x = 0; x < image.cols; ++x) between |= static_cast<uint8_t>((row[x] + 1) & 0xFE);
  }
  return between == 0;
}

class CountedMedian {
 public:
  CountedMedian(const cv::Mat& src, cv::Mat& dst, int32_t ksize)
      : src_(src), dst_(dst), ksize_(ksize), radius_(ksize / 2), binary_(is_binary(src)) {
    const auto width = static_cast<size_t>(std::min(src.cols, kBlock));
    const auto reach = width + static_cast<size_t>(ksize);
    pitch_ = width + kVector;
    padded_.resize(reach + kVector);
    scratch_.resize(reach + 5 * kVector);
    full_rows_.resize(pitch_ * static_cast<size_t>(ksize + 1));
    full_sums_.resize(pitch_);
    result_.resize(pitch_);
    open_.resize(pitch_);
    if (binary_) return;
    zero_rows_.resize(full_rows_.size());
    zero_sums_.resize(pitch_);
    centres_.resize(reach);
    groups_.resize(16 * reach);
    values_.resize(16 * groups_.size());
  }

  // The block of columns that starts at left.
  void run(int32_t left) {
    left_ = left;
    width_ = std::min(kBlock, src_.cols - left);
    start();
    for (int32_t y = 0; y < src_.rows; ++y) {
      const int32_t entering = std::min(y + radius_, src_.rows - 1);
      if (y > 0 && y + radius_ < src_.rows) count(entering);
      decide(entering, std::max(y - radius_ - 1, 0));
      if (!binary_) select(y);
      std::memcpy(dst_.ptr(y, left_), result_.data(), static_cast<size_t>(width_));
    }
  }

 private:
  // As if the windows stood one row above the image.
  void start() {
    std::fill(full_sums_.begin(), full_sums_.end(), uint16_t{0});
    std::fill(zero_sums_.begin(), zero_sums_.end(), uint16_t{0});
    std::fill(centres_.begin(), centres_.end(), ColumnHistograms::kNever);
    for (int32_t y = 0; y <= std::min(radius_, src_.rows - 1); ++y) count(y);
    for (int32_t y = -radius_ - 1; y < radius_; ++y) add_row(std::clamp(y, 0, src_.rows - 1));
  }

  uint8_t* slot(std::vector<uint8_t>& rows, int32_t y) const {
    return rows.data() + pitch_ * static_cast<size_t>(y % (ksize_ + 1));
  }

  // Row y's counts along the row.
  void count(int32_t y) {
    const uint8_t* row = src_.ptr(y);
    const int32_t from = std::max(left_ - radius_, 0);
    const int32_t to = std::min(left_ + width_ + radius_, src_.cols);
    const auto before = static_cast<size_t>(from - (left_ - radius_));
    const auto inside = static_cast<size_t>(to - from);
    std::memset(padded_.data(), row[0], before);
    std::memcpy(padded_.data() + before, row + from, inside);
    std::memset(padded_.data() + before + inside, row[src_.cols - 1],
                static_cast<size_t>(width_ + 2 * radius_) - before - inside);
    RowCount job{padded_.data(), width_, ksize_, 255, scratch_.data(), slot(full_rows_, y)};
    HWY_DYNAMIC_DISPATCH(count_row)(job);
    if (binary_) return;
    job.value = 0;
    job.counts = slot(zero_rows_, y);
    HWY_DYNAMIC_DISPATCH(count_row)(job);
  }

  void add_row(int32_t y) {
    const auto add = [this](std::vector<uint16_t>& sums, const uint8_t* row) {
      for (size_t x = 0; x < static_cast<size_t>(width_); ++x) {
        sums[x] = static_cast<uint16_t>(sums[x] + row[x]);
      }
    };
    add(full_sums_, slot(full_rows_, y));
    if (!binary_) add(zero_sums_, slot(zero_rows_, y));
  }

  void decide(int32_t entering, int32_t leaving) {
    RowDecision job{};
    job.width = width_;
    job.majority = static_cast<uint16_t>(ksize_ * ksize_ / 2 + 1);
    job.fulls = {full_sums_.data(), slot(full_rows_, entering), slot(full_rows_, leaving)};
    if (!binary_) {
      job.zeros = {zero_sums_.data(), slot(zero_rows_, entering), slot(zero_rows_, leaving)};
    }
    job.result = result_.data();
    job.open = open_.data();
    HWY_DYNAMIC_DISPATCH(decide_row)(job);
  }

  // The open pixels of row y, in runs: gaps that are cheaper to slide over belong to them.
  void select(int32_t y) {
    const ColumnHistograms all{&src_,           radius_,         width_ + 2 * radius_,
                               left_ - radius_, centres_.data(), groups_.data(),
                               values_.data()};
    int32_t first = find_open(0);
    while (first < width_) {
      int32_t last = first;
      int32_t next = find_open(last + 1);
      while (next < width_ && next - last <= radius_) {
        last = next;
        next = find_open(last + 1);
      }
      HWY_DYNAMIC_DISPATCH(select_run)(all, open_.data(), first, last, y, result_.data());
      first = next;
    }
  }

  // First open pixel from x on, or the block's width.
  int32_t find_open(int32_t x) const {
    if (x < width_ && open_[static_cast<size_t>(x)] != 0) return x;
    const void* found = std::memchr(open_.data() + x, 255, static_cast<size_t>(width_ - x));
    if (found == nullptr) return width_;
    return static_cast<int32_t>(static_cast<const uint8_t*>(found) - open_.data());
  }

  const cv::Mat& src_;
  cv::Mat& dst_;
  const int32_t ksize_;
  const int32_t radius_;
  const bool binary_;
  int32_t left_ = 0;
  int32_t width_ = 0;
  size_t pitch_ = 0;
  std::vector<uint8_t> padded_;
  std::vector<uint8_t> scratch_;
  std::vector<uint8_t> full_rows_;  // counts along the row, of the rows that windows hold
  std::vector<uint8_t> zero_rows_;
  std::vector<uint16_t> full_sums_;  // counts of the windows
  std::vector<uint16_t> zero_sums_;
  std::vector<uint8_t> result_;
  std::vector<uint8_t> open_;
  std::vector<int32_t> centres_;
  std::vector<uint8_t> groups_;
  std::vector<uint8_t> values_;
};

}  // namespace

void median_by_counts(const cv::Mat& src, cv::Mat& dst, int32_t ksize) {
  CountedMedian median(src, dst, ksize);
  for (int32_t left = 0; left < src.cols; left += kBlock) median.run(left);
}

}  // namespace kel::mask
#endif  // HWY_ONCE
