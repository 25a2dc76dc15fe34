// The two sums of a mean over square windows. Sixteen rows are worked on at a time: first sums of
// their columns, then, with the rows standing side by side in vectors, sums of those along them.
#pragma once

#include <cstddef>
#include <cstdint>

namespace kel::imageprocess {

inline constexpr int kMeanRows = 16;

// For each row i: sums[x] += entering[i][x] - leaving[i][x]; columns[x * kMeanRows + i] = sums[x].
void slide_down(uint16_t* columns, uint16_t* sums, const uint8_t* const* entering,
                const uint8_t* const* leaving, int64_t count);
// Reference version; results must match.
void slide_down_plain(uint16_t* columns, uint16_t* sums, const uint8_t* const* entering,
                      const uint8_t* const* leaving, int64_t count);

// Sums of windows, in an order of the kernel's own; zeros at the start of a row.
struct WindowSums {
  uint16_t small[3 * kMeanRows];
  float large[3 * kMeanRows];
};

// Means of square windows of ksize pixels a side, a pixel being `step` (1 or 3) columns. A column
// enters a window and leaves it ksize pixels later, so up to ksize pixels before `columns` are
// read. An odd number of pixels is rounded up. Column x of row i becomes means[x / 2][i][x % 2].
//
// Up to kernel 15 quotients are rounded to the nearest number. Those of larger kernels are products
// with the reciprocal in single precision; from column `single` on, they are exact, too.
struct MeanAlong {
  uint8_t (*means)[kMeanRows][2];
  const uint16_t* columns;
  int64_t pixels;
  int64_t single;
  int32_t ksize;
  int step;
};
void mean_along(WindowSums& sums, const MeanAlong& job);
// Reference version; results must match.
void mean_along_plain(WindowSums& sums, const MeanAlong& job);

// Up to here the sum of a window has 16 bits.
inline constexpr int32_t kLargestSmallMean = 15;

}  // namespace kel::imageprocess
