#include "mask/median_by_majorities.h"

#include <algorithm>
#include <bit>
#include <vector>

#include "core/contours/bit_mask.h"
#include "core/kernels/bits_of_row.h"
#include "core/kernels/median_run_by_histograms.h"
#include "mask/majority.h"

namespace kel::mask {
namespace {

using imageprocess::ColumnHistograms;

constexpr int32_t kBlock = 512;  // columns processed at a time, for the cache

// Leaves of a those pixels that b does not have.
void remove(BitMask& a, const BitMask& b) {
  for (int32_t y = 0; y < a.height(); ++y) {
    for (int64_t i = 0; i < a.row_words(); ++i) a.row(y)[i] &= ~b.row(y)[i];
  }
}

bool is_empty(const BitMask& mask) {
  for (int32_t y = 0; y < mask.height(); ++y) {
    if (mask.find_other(y, 0, mask.row_words(), 0) < mask.row_words()) return false;
  }
  return true;
}

// The medians of pixels without a majority.
class OpenPixels {
 public:
  OpenPixels(const cv::Mat& src, cv::Mat& dst, const BitMask& open, int32_t ksize)
      : src_(src), dst_(dst), open_(open), radius_(ksize / 2) {
    const size_t reach = static_cast<size_t>(std::min(src.cols, kBlock)) + size_t{2} * kBlock / 16;
    open_bytes_.resize(reach);
    centres_.resize(reach);
    groups_.resize(16 * reach);
    values_.resize(16 * groups_.size());
  }

  // The block of columns that starts at left.
  void run(int32_t left) {
    left_ = left;
    width_ = std::min(kBlock, src_.cols - left);
    std::fill(centres_.begin(), centres_.end(), ColumnHistograms::kNever);
    const int64_t word = left / BitMask::kBits;
    const int64_t end = (left + width_ + BitMask::kBits - 1) / BitMask::kBits;
    for (int32_t y = 0; y < src_.rows; ++y) {
      if (open_.find_other(y, word, end, 0) == end) continue;
      imageprocess::bytes_of_bits(open_bytes_.data(), open_.row(y) + word, width_);
      select(y);
    }
  }

 private:
  // The open pixels of row y, in runs, which include gaps that are cheaper to slide across.
  void select(int32_t y) {
    const imageprocess::Channel channel{src_.data, static_cast<ptrdiff_t>(src_.step[0]), src_.cols,
                                        src_.rows, 1};
    const ColumnHistograms all{channel,         radius_,         width_ + 2 * radius_,
                               left_ - radius_, centres_.data(), groups_.data(),
                               values_.data()};
    int32_t first = find_open(y, 0, true);
    while (first < width_) {
      int32_t end = find_open(y, first, false);
      int32_t next = find_open(y, end, true);
      while (next < width_ && next - end < radius_) {
        end = find_open(y, next, false);
        next = find_open(y, end, true);
      }
      imageprocess::median_run_by_histograms(all, open_bytes_.data(), first, end - 1, y,
                                             dst_.ptr(y, left_));
      first = next;
    }
  }

  // First pixel from x on that is open, or is not, counted from the block's left end; or the
  // block's width.
  int32_t find_open(int32_t y, int32_t x, bool is_open) const {
    const uint64_t* words = open_.row(y) + left_ / BitMask::kBits;
    const uint64_t flipped = is_open ? 0 : ~uint64_t{0};
    for (int32_t from = x; from < width_; from = (from / BitMask::kBits + 1) * BitMask::kBits) {
      const uint64_t word = (words[from / BitMask::kBits] ^ flipped) >> (from % BitMask::kBits);
      if (word != 0) return std::min(from + std::countr_zero(word), width_);
    }
    return width_;
  }

  template <typename Value>
  using Buffer = std::vector<Value, Uninitialised<Value>>;

  const cv::Mat& src_;
  cv::Mat& dst_;
  const BitMask& open_;
  const int32_t radius_;
  int32_t left_ = 0;
  int32_t width_ = 0;
  Buffer<uint8_t> open_bytes_;
  Buffer<int32_t> centres_;
  Buffer<int16_t> groups_;
  Buffer<int16_t> values_;
};

}  // namespace

void median_by_majorities(const cv::Mat& src, cv::Mat& dst, int32_t ksize) {
  const BitMask full = majority(BitMask(src, 254), ksize);
  BitMask open = majority(BitMask(src, 0), ksize);
  full.write(dst);
  remove(open, full);
  if (is_empty(open)) return;
  OpenPixels pixels(src, dst, open, ksize);
  for (int32_t left = 0; left < src.cols; left += kBlock) pixels.run(left);
}

}  // namespace kel::mask
