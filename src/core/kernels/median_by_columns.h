// Medians of 3x3 or 5x5 pixels of any kind of image, eight rows at a time. Kernel 5 passes over
// flat parts; kernel 3 is at the speed of memory anyway.
#pragma once

#include <cstdint>

namespace kel::imageprocess {

inline constexpr int kMedianRows = 8;

// results[i][x] = the median of rows[i] to rows[i + ksize - 1] over the ksize pixels around byte x
// of `count`; pixels are `step` (1 or 3) bytes, and those at the ends are repeated beyond them.
void median_by_columns(uint8_t* const* results, const uint8_t* const* rows, int64_t count, int step,
                       int32_t ksize);
// Its definition.
void median_by_columns_plain(uint8_t* const* results, const uint8_t* const* rows, int64_t count,
                             int step, int32_t ksize);

}  // namespace kel::imageprocess
