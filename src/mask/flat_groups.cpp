#include "mask/flat_groups.h"

#include <cstring>

#include "core/kernels/extremes_of_rows.h"

namespace kel::mask {

FlatGroups::FlatGroups(const cv::Mat& src, cv::Mat& dst, int32_t radius)
    : src_(src),
      dst_(dst),
      radius_(radius),
      lit_(static_cast<size_t>((src.cols + kColumns - 1) / kColumns + 2)),
      unlit_(lit_.size()) {}

// What borders mirror is within reach on their inner side, too.
void FlatGroups::look_at(const cv::Range& rows) {
  rows_.clear();
  const int32_t end = std::min(rows.end + radius_, src_.rows);
  for (int32_t y = std::max(rows.start - radius_, 0); y < end; ++y) rows_.push_back(src_.ptr(y));
  imageprocess::extremes_of_rows(lit_.data() + 1, unlit_.data() + 1, rows_.data(),
                                 static_cast<int32_t>(rows_.size()), src_.cols);
}

FlatGroups::Kind FlatGroups::kind_of(int32_t group) const {
  const auto reached = [&](const std::vector<uint64_t>& columns) {
    const uint64_t* const word = columns.data() + group + 1;
    return (word[0] | word[-1] >> (kColumns - radius_) | word[1] << (kColumns - radius_)) != 0;
  };
  if (!reached(lit_)) return kBlack;
  return reached(unlit_) ? kMixed : kWhite;
}

void FlatGroups::fill(const cv::Range& rows, int32_t left, int32_t right, Kind kind) {
  for (int32_t y = rows.start; y < rows.end; ++y) {
    std::memset(dst_.ptr(y, left), kind, static_cast<size_t>(right - left));
  }
}

}  // namespace kel::mask
