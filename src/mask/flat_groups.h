// What filters of masks need not compute: windows that are all black or all white.
#pragma once

#include <algorithm>
#include <cstdint>
#include <opencv2/core.hpp>
#include <vector>

namespace kel::mask {

// Looks at groups of 64 columns, a few rows at a time, just before they are filtered.
class FlatGroups {
 public:
  static constexpr int32_t kColumns = 64;

  // For CV_8UC1 matrices of one size, at least a group wide, and windows of up to `radius` < 64
  // pixels to each side, which are mirrored or cut off at the borders.
  FlatGroups(const cv::Mat& src, cv::Mat& dst, int32_t radius);

  // Fills the groups of rows of dst whose windows are all 0 or all 255 with that value, and calls
  // filter(columns) for stretches of at least a group that cover the others.
  template <typename Filter>
  void run(const cv::Range& rows, Filter filter) {
    look_at(rows);
    const int32_t groups = static_cast<int32_t>(lit_.size()) - 2;
    for (int32_t i = 0; i < groups;) {
      const Kind kind = kind_of(i);
      int32_t end = i + 1;
      while (end < groups && kind_of(end) == kind) ++end;
      if (kind == kMixed) {
        const int32_t right = std::min(end * kColumns, src_.cols);
        filter(cv::Range(std::min(i * kColumns, right - kColumns), right));
      } else {
        fill(rows, i * kColumns, std::min(end * kColumns, src_.cols), kind);
      }
      i = end;
    }
  }

 private:
  enum Kind : uint8_t { kBlack = 0, kMixed = 1, kWhite = 255 };

  void look_at(const cv::Range& rows);
  Kind kind_of(int32_t group) const;
  void fill(const cv::Range& rows, int32_t left, int32_t right, Kind kind);

  const cv::Mat& src_;
  cv::Mat& dst_;
  int32_t radius_;
  std::vector<const uint8_t*> rows_;
  std::vector<uint64_t> lit_;  // columns of the groups' rows, with a word before and behind
  std::vector<uint64_t> unlit_;
};

}  // namespace kel::mask
