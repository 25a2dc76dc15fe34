#include "mask/median_by_majorities.h"

#include <algorithm>

#include "core/contours/bit_mask.h"
#include "mask/majority.h"
#include "mask/open_medians.h"

namespace kel::mask {
namespace {

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

void select_block(const cv::Mat& src, cv::Mat& dst, const BitMask& open, OpenMedians& medians,
                  int32_t left) {
  const int32_t width = std::min(OpenMedians::kBlock, src.cols - left);
  medians.start(left, width);
  const int64_t word = left / BitMask::kBits;
  const int64_t end = word + BitMask::words_of(width);
  for (int32_t y = 0; y < src.rows; ++y) {
    if (open.find_other(y, word, end, 0) == end) continue;
    medians.select(open.row(y) + word, y, dst.ptr(y, left));
  }
}

}  // namespace

void median_by_majorities(const cv::Mat& src, cv::Mat& dst, int32_t ksize) {
  const BitMask full = majority(BitMask(src, 254), ksize);
  BitMask open = majority(BitMask(src, 0), ksize);
  full.write(dst);
  remove(open, full);
  if (is_empty(open)) return;
  OpenMedians medians(src, ksize);
  for (int32_t left = 0; left < src.cols; left += OpenMedians::kBlock) {
    select_block(src, dst, open, medians, left);
  }
}

}  // namespace kel::mask
