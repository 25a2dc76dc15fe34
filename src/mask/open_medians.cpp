#include "mask/open_medians.h"

#include <algorithm>
#include <bit>

#include "core/kernels/bits_of_row.h"
#include "core/kernels/median_run_by_histograms.h"

namespace kel::mask {

using imageprocess::ColumnHistograms;

OpenMedians::OpenMedians(const cv::Mat& src, int32_t ksize) : src_(src), radius_(ksize / 2) {
  const size_t reach = static_cast<size_t>(std::min(src.cols, kBlock)) + static_cast<size_t>(ksize);
  centres_.resize(reach);
  groups_.resize(16 * reach);
  values_.resize(16 * groups_.size());
}

void OpenMedians::start(int32_t left, int32_t width) {
  left_ = left;
  width_ = width;
  std::fill(centres_.begin(), centres_.end(), ColumnHistograms::kNever);
}

// In runs, which include gaps that are cheaper to slide across.
void OpenMedians::select(const uint64_t* open, int32_t y, uint8_t* result) {
  const imageprocess::Channel channel{src_.data, static_cast<ptrdiff_t>(src_.step[0]), src_.cols,
                                      src_.rows, 1};
  const ColumnHistograms all{channel,         radius_,        width_ + 2 * radius_, left_ - radius_,
                             centres_.data(), groups_.data(), values_.data()};
  int32_t first = find(open, 0, true);
  if (first == width_) return;
  uint8_t is_open[kBlock];
  imageprocess::bytes_of_bits(is_open, open, width_);
  while (first < width_) {
    int32_t end = find(open, first, false);
    int32_t next = find(open, end, true);
    while (next < width_ && next - end < radius_) {
      end = find(open, next, false);
      next = find(open, end, true);
    }
    imageprocess::median_run_by_histograms(all, is_open, first, end - 1, y, result);
    first = next;
  }
}

// First pixel from x on whose bit is set, or is not, or the block's width.
int32_t OpenMedians::find(const uint64_t* open, int32_t x, bool is_set) const {
  constexpr int32_t kBits = 64;
  const uint64_t flipped = is_set ? 0 : ~uint64_t{0};
  for (; x < width_; x = (x / kBits + 1) * kBits) {
    const uint64_t bits = (open[x / kBits] ^ flipped) >> (x % kBits);
    if (bits != 0) return std::min(x + std::countr_zero(bits), width_);
  }
  return width_;
}

}  // namespace kel::mask
