// Medians of neighbouring pixels from histograms of the columns of their windows.
#pragma once

#include <cstdint>

#include "core/pixel_region.h"

namespace kel::imageprocess {

// Histograms of the columns that the windows of a block of pixels reach, border columns repeated:
// the window of pixel x holds columns x to x + 2 * radius.
struct ColumnHistograms {
  const Plane* src;
  int32_t radius;
  int32_t columns;
  int32_t left;     // source column of column 0, may be outside
  int32_t* centre;  // row around which the column was last counted, or kNever
  uint8_t* groups;  // [column][16]: pixels whose upper four bits are at most i
  uint8_t* values;  // [group][column][16]: pixels of the group whose lower four are at most i
  static constexpr int32_t kNever = INT32_MIN / 2;

  // Row y, the border rows repeated.
  const uint8_t* row(int64_t y) const {
    const int64_t end = src->rows - 1;
    return src->row(y < 0 ? 0 : y < end ? y : end);
  }
};

// result[x] = the median of the window around pixel x of row y, for those of the pixels [first,
// last] of the block that are open (not 0); the others are left alone. Between calls with the same
// histograms y must not decrease.
void median_run_by_histograms(const ColumnHistograms& all, const uint8_t* open, int32_t first,
                              int32_t last, int32_t y, uint8_t* result);
// Reference version, which uses no histograms; results must match.
void median_run_by_histograms_plain(const ColumnHistograms& all, const uint8_t* open, int32_t first,
                                    int32_t last, int32_t y, uint8_t* result);

}  // namespace kel::imageprocess
