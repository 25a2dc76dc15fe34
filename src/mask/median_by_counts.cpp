#include "mask/median_by_counts.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <cstring>
#include <opencv2/imgproc.hpp>
#include <vector>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "mask/median_by_counts.cpp"
#include <hwy/foreach_target.h>
// After foreach_target.h
#include <hwy/highway.h>

HWY_BEFORE_NAMESPACE();
namespace kel::mask::HWY_NAMESPACE {

namespace hn = hwy::HWY_NAMESPACE;
using Bytes = hn::CappedTag<uint8_t, 64>;
using Words = hn::Repartition<uint16_t, Bytes>;
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

}  // namespace kel::mask::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace kel::mask {
namespace {

HWY_EXPORT(count_row);
HWY_EXPORT(decide_row);

constexpr int32_t kVector = 64;  // longest vector in bytes
constexpr int32_t kStrip = 64;   // columns that share a histogram
constexpr int32_t kChunk = 1024;  // columns counted at a time

bool is_between(uint8_t value) { return value != 0 && value != 255; }

int64_t count_between(const cv::Mat& image) {
  int64_t count = 0;
  for (int32_t y = 0; y < image.rows; ++y) {
    const uint8_t* row = image.ptr(y);
    count += std::count_if(row, row + image.cols, is_between);
  }
  return count;
}

// Histogram of the values 1 to 254 in the window about a pixel; border pixels repeat.
class Walker {
 public:
  // Goes to (x, y); returns the pixels that were counted on the way.
  int64_t go(const cv::Mat& src, int32_t radius, int32_t x, int32_t y) {
    const int32_t side = 2 * radius + 1;
    const int64_t steps = std::abs(int64_t{x} - x_) + std::abs(int64_t{y} - y_);
    if (x_ < 0 || 2 * steps > side) {
      restart(src, radius, x, y);
      return int64_t{side} * side;
    }
    for (; y_ < y; ++y_) {
      add_row<-1>(src, radius, y_ - radius);
      add_row<1>(src, radius, y_ + radius + 1);
    }
    for (; x_ < x; ++x_) {
      add_column<-1>(src, radius, x_ - radius);
      add_column<1>(src, radius, x_ + radius + 1);
    }
    for (; x_ > x; --x_) {
      add_column<-1>(src, radius, x_ + radius);
      add_column<1>(src, radius, x_ - radius - 1);
    }
    return 2 * steps * side;
  }

  // The value with `rank` values of the histogram below it.
  uint8_t select(int32_t rank) const {
    size_t group = 0;
    while (rank >= groups_[group]) rank -= groups_[group++];
    size_t value = group * kGroup;
    while (rank >= counts_[value]) rank -= counts_[value++];
    return static_cast<uint8_t>(value);
  }

  int32_t x() const { return x_; }

 private:
  static constexpr size_t kGroup = 16;

  template <int Sign>
  void add(uint8_t value) {
    if (!is_between(value)) return;
    counts_[value] = static_cast<uint16_t>(counts_[value] + Sign);
    groups_[value / kGroup] = static_cast<uint16_t>(groups_[value / kGroup] + Sign);
  }

  template <int Sign>
  void add_row(const cv::Mat& src, int32_t radius, int32_t y) {
    const uint8_t* row = src.ptr(std::clamp(y, 0, src.rows - 1));
    const int32_t from = std::max(x_ - radius, 0);
    const int32_t to = std::min(x_ + radius, src.cols - 1);
    for (int32_t x = x_ - radius; x < 0; ++x) add<Sign>(row[0]);
    for (int32_t x = from; x <= to; ++x) add<Sign>(row[x]);
    for (int32_t x = src.cols; x <= x_ + radius; ++x) add<Sign>(row[src.cols - 1]);
  }

  template <int Sign>
  void add_column(const cv::Mat& src, int32_t radius, int32_t x) {
    const uint8_t* column = src.ptr(0, std::clamp(x, 0, src.cols - 1));
    const auto pitch = static_cast<ptrdiff_t>(src.step[0]);
    const int32_t from = std::max(y_ - radius, 0);
    const int32_t to = std::min(y_ + radius, src.rows - 1);
    for (int32_t y = y_ - radius; y < 0; ++y) add<Sign>(column[0]);
    for (int32_t y = from; y <= to; ++y) add<Sign>(column[y * pitch]);
    for (int32_t y = src.rows; y <= y_ + radius; ++y) add<Sign>(column[(src.rows - 1) * pitch]);
  }

  void restart(const cv::Mat& src, int32_t radius, int32_t x, int32_t y) {
    counts_ = {};
    groups_ = {};
    x_ = x;
    y_ = y;
    for (int32_t row = y - radius; row <= y + radius; ++row) add_row<1>(src, radius, row);
  }

  std::array<uint16_t, 256> counts_{};
  std::array<uint16_t, 256 / kGroup> groups_{};
  int32_t x_ = -1;  // centre of the window, -1 before the first
  int32_t y_ = 0;
};

class CountedMedian {
 public:
  CountedMedian(const cv::Mat& src, cv::Mat& dst, int32_t ksize, bool binary)
      : src_(src),
        dst_(dst),
        ksize_(ksize),
        radius_(ksize / 2),
        pitch_(static_cast<size_t>(src.cols) + 2 * kVector),
        padded_(kChunk + 256 + kVector),
        scratch_(padded_.size() + 256),
        full_rows_(pitch_ * static_cast<size_t>(ksize + 1)),
        zero_rows_(binary ? 0 : full_rows_.size()),
        full_sums_(pitch_),
        zero_sums_(binary ? 0 : pitch_),
        result_(pitch_),
        open_(pitch_),
        walkers_(binary ? 0 : static_cast<size_t>((src.cols + kStrip - 1) / kStrip)) {}

  // Returns the first row that is left to do: walking became dearer than `dearest` pixels a row.
  int32_t run(int64_t dearest) {
    for (int32_t y = 0; y <= radius_; ++y) count(y);
    for (int32_t y = -radius_ - 1; y < radius_; ++y) add_row(std::clamp(y, 0, src_.rows - 1));
    int64_t spent = 0;
    for (int32_t y = 0; y < src_.rows; ++y) {
      const int32_t entering = std::min(y + radius_, src_.rows - 1);
      if (y > 0 && y + radius_ < src_.rows) count(entering);
      decide(entering, std::max(y - radius_ - 1, 0));
      if (!walkers_.empty()) {
        spent += select(y);
        if (spent > dearest * (y + 1) + dearest * src_.rows / 16) return y;
      }
      std::memcpy(dst_.ptr(y), result_.data(), static_cast<size_t>(src_.cols));
    }
    return src_.rows;
  }

 private:
  uint8_t* slot(std::vector<uint8_t>& rows, int32_t y) const {
    return rows.data() + pitch_ * static_cast<size_t>(y % (ksize_ + 1));
  }

  // Row y's counts along the row, chunk by chunk.
  void count(int32_t y) {
    const uint8_t* row = src_.ptr(y);
    for (int32_t left = 0; left < src_.cols; left += kChunk) {
      const int32_t width = std::min(kChunk, src_.cols - left);
      const int32_t from = std::max(left - radius_, 0);
      const int32_t to = std::min(left + width + radius_, src_.cols);
      const auto before = static_cast<size_t>(from - (left - radius_));
      const auto inside = static_cast<size_t>(to - from);
      std::memset(padded_.data(), row[0], before);
      std::memcpy(padded_.data() + before, row + from, inside);
      std::memset(padded_.data() + before + inside, row[src_.cols - 1],
                  static_cast<size_t>(width + 2 * radius_) - before - inside);
      RowCount job{padded_.data(), width, ksize_, 255, scratch_.data(), slot(full_rows_, y) + left};
      HWY_DYNAMIC_DISPATCH(count_row)(job);
      if (zero_rows_.empty()) continue;
      job.value = 0;
      job.counts = slot(zero_rows_, y) + left;
      HWY_DYNAMIC_DISPATCH(count_row)(job);
    }
  }

  void add_row(int32_t y) {
    const auto add = [this](std::vector<uint16_t>& sums, const uint8_t* row) {
      for (size_t x = 0; x < static_cast<size_t>(src_.cols); ++x) {
        sums[x] = static_cast<uint16_t>(sums[x] + row[x]);
      }
    };
    add(full_sums_, slot(full_rows_, y));
    if (!zero_rows_.empty()) add(zero_sums_, slot(zero_rows_, y));
  }

  void decide(int32_t entering, int32_t leaving) {
    RowDecision job{};
    job.width = src_.cols;
    job.majority = static_cast<uint16_t>(ksize_ * ksize_ / 2 + 1);
    job.fulls = {full_sums_.data(), slot(full_rows_, entering), slot(full_rows_, leaving)};
    if (!zero_rows_.empty()) {
      job.zeros = {zero_sums_.data(), slot(zero_rows_, entering), slot(zero_rows_, leaving)};
    }
    job.result = result_.data();
    job.open = open_.data();
    HWY_DYNAMIC_DISPATCH(decide_row)(job);
  }

  // Fills in the open pixels of row y; returns the pixels counted for it.
  int64_t select(int32_t y) {
    int64_t spent = 0;
    for (size_t strip = 0; strip < walkers_.size(); ++strip) {
      const auto left = static_cast<int32_t>(strip) * kStrip;
      const int32_t right = std::min(left + kStrip, src_.cols);
      const uint8_t* begin = open_.data() + left;
      const uint8_t* end = open_.data() + right;
      const auto* first = static_cast<const uint8_t*>(
          std::memchr(begin, 255, static_cast<size_t>(right - left)));
      if (first == nullptr) continue;
      const uint8_t* last = end - 1;
      while (*last == 0) --last;
      spent += select_between(walkers_[strip], y, static_cast<int32_t>(first - open_.data()),
                              static_cast<int32_t>(last - open_.data()));
    }
    return spent;
  }

  // From the end that is closer to where the walker stands.
  int64_t select_between(Walker& walker, int32_t y, int32_t first, int32_t last) {
    constexpr int64_t kSelect = 20;  // a selection costs as much as counting these pixels
    int64_t spent = 0;
    const bool backwards = std::abs(walker.x() - last) < std::abs(walker.x() - first);
    for (int32_t i = 0; i <= last - first; ++i) {
      const int32_t x = backwards ? last - i : first + i;
      if (open_[static_cast<size_t>(x)] == 0) continue;
      spent += kSelect + walker.go(src_, radius_, x, y);
      const int32_t below = ksize_ * ksize_ / 2 - zero_sums_[static_cast<size_t>(x)];
      result_[static_cast<size_t>(x)] = walker.select(below);
    }
    return spent;
  }

  const cv::Mat& src_;
  cv::Mat& dst_;
  const int32_t ksize_;
  const int32_t radius_;
  const size_t pitch_;
  std::vector<uint8_t> padded_;
  std::vector<uint8_t> scratch_;
  std::vector<uint8_t> full_rows_;  // counts along the row, of the rows that windows hold
  std::vector<uint8_t> zero_rows_;
  std::vector<uint16_t> full_sums_;  // counts of the windows
  std::vector<uint16_t> zero_sums_;
  std::vector<uint8_t> result_;
  std::vector<uint8_t> open_;
  std::vector<Walker> walkers_;
};

// Rows [from, end) by the plain call, on the rows that their windows reach.
void blur_rest(const cv::Mat& src, cv::Mat& dst, int32_t ksize, int32_t from) {
  const int32_t top = std::max(0, from - ksize / 2);
  const cv::Mat rest(src.rows - top, src.cols, CV_8UC1, const_cast<uint8_t*>(src.ptr(top)),
                     src.step[0]);
  cv::Mat blurred;
  cv::medianBlur(rest, blurred, ksize);
  for (int32_t y = from; y < src.rows; ++y) {
    std::memcpy(dst.ptr(y), blurred.ptr(y - top), static_cast<size_t>(src.cols));
  }
}

}  // namespace

bool can_count_median(const cv::Mat& src, int32_t ksize) {
  constexpr int32_t kSmallest = 7;  // OpenCV sorts below
  return src.type() == CV_8UC1 && ksize >= kSmallest && ksize < 200 &&
         src.rows >= 2 * ksize + 16 && src.cols >= kVector;
}

void median_by_counts(const cv::Mat& src, cv::Mat& dst, int32_t ksize) {
  // What OpenCV takes for a pixel, in pixels that a histogram could count meanwhile.
  constexpr int64_t kCallPerPixel = 24;
  const int64_t between = count_between(src);
  const auto pixels = static_cast<int64_t>(src.total());
  if (between > pixels / 2) return cv::medianBlur(src, dst, ksize);
  const int32_t done = CountedMedian(src, dst, ksize, between == 0).run(kCallPerPixel * src.cols);
  if (done < src.rows) blur_rest(src, dst, ksize, done);
}

}  // namespace kel::mask
#endif  // HWY_ONCE
