#include "mask/morph_runs.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <memory>
#include <vector>

#include "core/kernels/spread_row.h"

namespace kel::mask {
namespace {

using imageprocess::KernelRun;
using imageprocess::RowSpread;

constexpr int32_t kVector = 64;  // longest vector in bytes

constexpr int32_t round_up(int32_t value) { return (value + kVector - 1) / kVector * kVector; }

// The kernel's rows sorted by their run; rows with the same run are neighbours, even in number
// (padded with -1), so that they can be processed in pairs.
struct RunKernel {
  std::vector<KernelRun> runs;
  std::vector<int32_t> rows;
  int32_t levels = 1;

  explicit RunKernel(const cv::Mat& kernel) {
    std::vector<std::array<int32_t, 3>> found;  // start, length, row
    for (int32_t y = 0; y < kernel.rows; ++y) {
      const uint8_t* row = kernel.ptr(y);
      const auto length = static_cast<int32_t>(std::count(row, row + kernel.cols, uint8_t{1}));
      const auto start = static_cast<int32_t>(std::find(row, row + kernel.cols, uint8_t{1}) - row);
      found.push_back({start, length, y});
    }
    std::sort(found.begin(), found.end());
    for (size_t i = 0; i < found.size(); ++i) {
      const auto [start, length, y] = found[i];
      if (i == 0 || found[i - 1][0] != start || found[i - 1][1] != length) add_run(start, length);
      rows.push_back(y);
      ++runs.back().rows;
    }
    fill_up_pair();
  }

 private:
  void add_run(int32_t start, int32_t length) {
    fill_up_pair();
    int32_t level = 0;
    while (2 << level <= length) ++level;
    runs.push_back({level, start, start + length - (1 << level), 0});
    levels = std::max(levels, level + 1);
  }
  void fill_up_pair() {
    if (runs.empty() || runs.back().rows % 2 == 0) return;
    rows.push_back(-1);
    ++runs.back().rows;
  }
};

// A strip of columns of one operation: output rows under construction in a ring, and the tables.
class Strip {
 public:
  Strip(const cv::Mat& src, cv::Mat& dst, const cv::Mat& kernel, const RunKernel& runs,
        int32_t widest, bool dilate)
      : src_(src),
        dst_(dst),
        kernel_(kernel.size()),
        runs_(runs),
        dilate_(dilate),
        outside_(dilate ? 0 : 255),
        reach_up_(kernel.rows - 1 - kernel.rows / 2),
        reach_down_(kernel.rows / 2),
        pitch_(round_up(widest)),
        stride_(round_up(pitch_ + kernel.cols) + 2 * kVector),
        memory_(static_cast<size_t>(pitch_ * (kernel.rows + 1) + stride_ * runs.levels + kVector)),
        targets_(runs.rows.size()) {
    void* start = memory_.data();
    size_t space = memory_.size();
    ring_ = static_cast<uint8_t*>(std::align(kVector, memory_.size() - kVector, start, space));
    tables_ = ring_ + static_cast<ptrdiff_t>(pitch_) * (kernel.rows + 1);
  }

  void run(int32_t left, int32_t width) {
    left_ = left;
    width_ = width;
    decided_ = -1;
    std::memset(ring_, outside_, static_cast<size_t>(pitch_) * static_cast<size_t>(kernel_.height));
    for (int32_t y = 0; y < src_.rows; ++y) {
      const Content content = load(y);
      if (content == Content::Opposite) decided_ = y + reach_down_;
      if (content == Content::Mixed) spread(y);
      if (y >= reach_up_) emit(y - reach_up_);
    }
    for (int32_t y = std::max(0, src_.rows - reach_up_); y < src_.rows; ++y) emit(y);
  }

 private:
  enum class Content { Outside, Opposite, Mixed };

  // Loads row y with the kernel's reach on both sides. Rows that equal the outside throughout have
  // no effect; rows of the opposite value throughout decide all they reach.
  Content load(int32_t y) {
    const int32_t anchor = kernel_.width / 2;
    const int32_t from = std::max(0, left_ - anchor);
    const int32_t to = std::min(src_.cols, left_ + width_ + kernel_.width - 1 - anchor);
    const uint8_t* row = src_.ptr(y);
    uint8_t any = 0;
    uint8_t all = 255;
    for (int32_t x = from; x < to; ++x) {
      any |= row[x];
      all &= row[x];
    }
    if (any == all && any == outside_) return Content::Outside;
    if (any == all && any == 255 - outside_) return Content::Opposite;
    const int32_t at = from - (left_ - anchor);
    std::memset(tables_, outside_, static_cast<size_t>(stride_));
    std::memcpy(tables_ + at, row + from, static_cast<size_t>(to - from));
    return Content::Mixed;
  }

  void spread(int32_t y) {
    for (size_t i = 0; i < targets_.size(); ++i) {
      const int32_t to = y + reach_down_ - runs_.rows[i];
      const bool wanted = runs_.rows[i] >= 0 && to > decided_ && to >= 0 && to < src_.rows;
      targets_[i] = wanted ? slot(to) : nullptr;
    }
    const RowSpread job{tables_,           stride_,
                        runs_.levels,      round_up(width_),
                        runs_.runs.data(), static_cast<int32_t>(runs_.runs.size()),
                        targets_.data(),   ring_ + static_cast<ptrdiff_t>(pitch_) * kernel_.height};
    imageprocess::spread_row(job, dilate_);
  }

  // Output row y is complete: all input rows that reach it have been loaded.
  void emit(int32_t y) {
    if (y <= decided_) {
      std::memset(dst_.ptr(y, left_), 255 - outside_, static_cast<size_t>(width_));
    } else {
      std::memcpy(dst_.ptr(y, left_), slot(y), static_cast<size_t>(width_));
    }
    std::memset(slot(y), outside_, static_cast<size_t>(pitch_));
  }

  uint8_t* slot(int32_t y) { return ring_ + static_cast<ptrdiff_t>(pitch_) * (y % kernel_.height); }

  const cv::Mat& src_;
  cv::Mat& dst_;
  const cv::Size kernel_;
  const RunKernel& runs_;
  const bool dilate_;
  const uint8_t outside_;     // what pixels beyond the border count as
  const int32_t reach_up_;    // input rows reach output rows from y - reach_up_ ...
  const int32_t reach_down_;  // ... to y + reach_down_
  const int32_t pitch_;
  const int32_t stride_;
  std::vector<uint8_t> memory_;
  std::vector<uint8_t*> targets_;
  uint8_t* ring_ = nullptr;
  uint8_t* tables_ = nullptr;
  int32_t left_ = 0;
  int32_t width_ = 0;
  int32_t decided_ = -1;  // output rows up to this one are the opposite of the outside
};

}  // namespace

void morph_runs(const cv::Mat& src, cv::Mat& dst, const cv::Mat& kernel, bool dilate) {
  // Strips are as wide as the first-level cache holds their ring.
  constexpr int32_t kCache = 32 * 1024;
  const int32_t widest =
      std::min(src.cols, std::clamp(kCache / kernel.rows / kVector, 4, 32) * kVector);
  const RunKernel runs(kernel);
  Strip strip(src, dst, kernel, runs, widest, dilate);
  for (int32_t left = 0; left < src.cols; left += widest) {
    strip.run(left, std::min(widest, src.cols - left));
  }
}

}  // namespace kel::mask
