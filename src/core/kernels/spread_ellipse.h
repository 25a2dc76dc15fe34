// Dilation and erosion of a block of pixels with a small kernel whose rows are runs.
#pragma once

#include <cstdint>

namespace kel::imageprocess {

inline constexpr int64_t kSpreadColumns = 64;        // of a block
inline constexpr int32_t kSpreadRows = 16;           // at most
inline constexpr int32_t kLargestSmallEllipse = 24;  // side

// Pixels of a row of the kernel, from the column of the result.
struct PixelRun {
  int32_t first;
  int32_t length;
};

struct EllipseSpread {
  uint8_t* const* results;  // `count` rows
  const uint8_t* const*
      rows;  // count + side - 1; row i of the results is that of rows i to i + side - 1
  int32_t count;
  int32_t side;
  const PixelRun* runs;  // from short to long, each within the next
  int32_t run_count;
  const int32_t* run_of_row;  // of the kernel
};
// Each pixel becomes the largest (maxima) or smallest pixel under the kernel.
void spread_ellipse(const EllipseSpread& job, bool maxima);
// Reference version; results must match.
void spread_ellipse_plain(const EllipseSpread& job, bool maxima);

}  // namespace kel::imageprocess
