// Spreads the maxima or minima of a row over the rows above and below it.
#pragma once

#include <cstdint>

namespace kel::imageprocess {

// A run of set pixels in rows of the structuring element; its extreme is that of two overlapping
// entries of table `level`.
struct KernelRun {
  int32_t level;   // extremes over 2^level pixels
  int32_t first;   // where the run starts, counted from the left end of the padded row
  int32_t second;  // start of the table entry that ends where the run ends
  int32_t rows;    // rows of the element that have this run: an even number
};

// What one input row does to the output rows that it reaches.
struct RowSpread {
  uint8_t* tables;  // level 0: the padded row; the others are scratch
  int64_t stride;   // bytes of a table
  int32_t levels;   // tables to fill
  int32_t width;    // output columns, a multiple of 64
  const KernelRun* runs;
  int32_t run_count;
  uint8_t* const* targets;  // output rows, in the order of the runs; null where none is wanted
  uint8_t* unused;          // scratch for an unwanted row
};

// Target rows are aligned to 64 bytes. Each pixel becomes the larger (maxima) or smaller of
// itself and the extreme over the run that starts at its place in the padded row.
void spread_row(const RowSpread& row, bool maxima);
// Reference version; results must match.
void spread_row_plain(const RowSpread& row, bool maxima);

}  // namespace kel::imageprocess
