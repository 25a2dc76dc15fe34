// Medians of 3x3 or 5x5 pixels along a row, by minima and maxima.
#pragma once

#include <cstdint>

namespace kel::imageprocess {

inline constexpr int kNetworkChunk = 64;  // pixels that are looked at together

// A row of the image and what its windows hold.
struct NetworkRow {
  const uint8_t* rows[5];  // the ksize rows, the border rows repeated
  int32_t width;           // at least kNetworkChunk + 4
  uint8_t* runs;           // per chunk: how many of the last rows, up to ksize, have one value
  uint8_t* result;         // null while the windows are above the image
};

// Takes in the last of the rows; then result[x] = the median of the window about pixel x. Rows are
// to be taken in from top to bottom, with the same `runs`, all 0 at first.
void median_row_by_network(const NetworkRow& row, int32_t ksize);
// Reference version, which needs no runs; results must match.
void median_row_by_network_plain(const NetworkRow& row, int32_t ksize);

}  // namespace kel::imageprocess
