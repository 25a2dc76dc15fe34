// Spreads the maxima or minima of a row over the rows above and below it, chunk by chunk: only
// chunks of the row that have something to spread cost anything.
#pragma once

#include <cstdint>

namespace kel::imageprocess {

inline constexpr int32_t kSpreadChunk = 64;  // bytes

// A run of set pixels in rows of the structuring element; its extreme is that of two overlapping
// entries of table `level`.
struct KernelRun {
  int32_t level;   // extremes over 2^level pixels
  int32_t first;   // where the run starts, counted from the left end of the padded row
  int32_t second;  // start of the table entry that ends where the run ends
  int32_t rows;    // rows of the element that have this run
};

// Copies the pixels of row that exceed (maxima) or are below the one at their place in a or b; the
// others become 0 (maxima) or 255. Returns a bit for each chunk that has any; chunks without are
// left alone. There are at most 64 chunks.
uint64_t outstanding_pixels(uint8_t* to, const uint8_t* row, const uint8_t* a, const uint8_t* b,
                            int32_t chunks, bool maxima);
// Reference version; results must match.
uint64_t outstanding_pixels_plain(uint8_t* to, const uint8_t* row, const uint8_t* a,
                                  const uint8_t* b, int32_t chunks, bool maxima);

// What one input row does to the output rows that it reaches.
struct RowSpread {
  uint8_t* tables;  // [level][stride]; level 0: the padded row; the others are scratch
  int64_t stride;   // bytes; three chunks more than are reached by a run
  int32_t levels;
  uint64_t occupied;  // a bit for each chunk of level 0 with pixels that are not 0 (maxima) or 255
  int32_t width;      // output columns
  const KernelRun* runs;
  int32_t run_count;
  uint8_t* const* targets;  // output rows, in the order of the runs; null where none is wanted
};

// Each pixel becomes the larger (maxima) or smaller of itself and the extreme over the run that
// starts at its place in the padded row. All tables must be 0 (maxima) or 255 apart from the
// occupied chunks, and are so throughout afterwards.
void spread_row(const RowSpread& row, bool maxima);
// Reference version; results must match.
void spread_row_plain(const RowSpread& row, bool maxima);

}  // namespace kel::imageprocess
