// Medians of neighbouring pixels from histograms of the columns of their windows.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>

namespace kel::imageprocess {

// One channel of an image, border pixels repeated beyond its sides.
struct Channel {
  const uint8_t* data;
  ptrdiff_t pitch;
  int32_t width;
  int32_t height;
  int32_t step;  // bytes from pixel to pixel

  const uint8_t* row(int64_t y) const {
    return data + std::clamp<int64_t>(y, 0, height - 1) * pitch;
  }
  // Where pixel x is in its row.
  int64_t at(int64_t x) const { return std::clamp<int64_t>(x, 0, width - 1) * step; }
};

// Histograms of the columns that the windows of a block of pixels reach: the window of pixel x
// holds columns x to x + 2 * radius.
struct ColumnHistograms {
  Channel src;
  int32_t radius;  // up to 127, so that a column's counts fit bytes
  int32_t columns;
  int32_t left;     // source column of column 0, may be outside
  int32_t* centre;  // row around which the column was last counted, or kNever
  uint8_t* groups;  // [column][16]: pixels whose upper four bits are less than i
  uint8_t* values;  // [group][column][16]: pixels of the group whose lower four are at most i
  static constexpr int32_t kNever = INT32_MIN / 2;
};

// result[x * step] = the median of the window around pixel x of row y, for those of the pixels
// [first, last] of the block that are open (not 0), as the first one is; the others are left alone.
// With null for `open` all pixels of the block are, in each call. Between calls with the same
// histograms y must not decrease.
void median_run_by_histograms(const ColumnHistograms& all, const uint8_t* open, int32_t first,
                              int32_t last, int32_t y, uint8_t* result);
// Reference version, which uses no histograms; results must match.
void median_run_by_histograms_plain(const ColumnHistograms& all, const uint8_t* open, int32_t first,
                                    int32_t last, int32_t y, uint8_t* result);

}  // namespace kel::imageprocess
