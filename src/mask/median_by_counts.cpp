#include "mask/median_by_counts.h"

#include <algorithm>
#include <cstring>
#include <optional>
#include <vector>

#include "core/kernels/bits_of_row.h"
#include "core/kernels/count_row.h"
#include "core/kernels/decide_row.h"
#include "mask/binarise.h"
#include "mask/open_medians.h"

namespace kel::mask {
namespace {

using imageprocess::RowDecision;

constexpr int32_t kVector = 64;  // longest vector in bytes
constexpr int32_t kBlock = OpenMedians::kBlock;

bool is_binary(const cv::Mat& image) {
  int32_t y = 0;
  while (y < image.rows && is_binary_row(image, y)) ++y;
  return y == image.rows;
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
    medians_.emplace(src, ksize);
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
      if (medians_) select(*medians_, y);
      std::memcpy(dst_.ptr(y, left_), result_.data(), static_cast<size_t>(width_));
    }
  }

 private:
  // Sums of the windows as if they were one row above the image.
  void start() {
    std::fill(full_sums_.begin(), full_sums_.end(), uint16_t{0});
    std::fill(zero_sums_.begin(), zero_sums_.end(), uint16_t{0});
    if (medians_) medians_->start(left_, width_);
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
    const auto count_value = [this](uint8_t value, uint8_t* counts) {
      imageprocess::count_row(counts, padded_.data(), width_, ksize_, value, scratch_.data());
    };
    count_value(255, slot(full_rows_, y));
    if (!binary_) count_value(0, slot(zero_rows_, y));
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
    imageprocess::decide_row(job);
  }

  void select(OpenMedians& medians, int32_t y) {
    uint64_t open[kBlock / 64];
    imageprocess::bits_above(open, open_.data(), width_, 0);
    medians.select(open, y, result_.data());
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
  std::optional<OpenMedians> medians_;
};

}  // namespace

void median_by_counts(const cv::Mat& src, cv::Mat& dst, int32_t ksize) {
  CountedMedian median(src, dst, ksize);
  for (int32_t left = 0; left < src.cols; left += kBlock) median.run(left);
}

}  // namespace kel::mask
