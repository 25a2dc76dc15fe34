#include "mask/open_medians.h"

#include <algorithm>
#include <cstring>

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
void OpenMedians::select(const uint8_t* open, int32_t y, uint8_t* result) {
  const imageprocess::Channel channel{src_.data, static_cast<ptrdiff_t>(src_.step[0]), src_.cols,
                                      src_.rows, 1};
  const ColumnHistograms all{channel,         radius_,        width_ + 2 * radius_, left_ - radius_,
                             centres_.data(), groups_.data(), values_.data()};
  int32_t first = find_open(open, 0);
  while (first < width_) {
    int32_t last = first;
    int32_t next = find_open(open, last + 1);
    while (next < width_ && next - last <= radius_) {
      last = next;
      next = find_open(open, last + 1);
    }
    imageprocess::median_run_by_histograms(all, open, first, last, y, result);
    first = next;
  }
}

// First open pixel from x on, or the block's width.
int32_t OpenMedians::find_open(const uint8_t* open, int32_t x) const {
  if (x < width_ && open[x] != 0) return x;
  const void* found = std::memchr(open + x, 255, static_cast<size_t>(width_ - x));
  if (found == nullptr) return width_;
  return static_cast<int32_t>(static_cast<const uint8_t*>(found) - open);
}

}  // namespace kel::mask
