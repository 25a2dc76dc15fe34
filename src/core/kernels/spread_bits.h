// Dilation of rows of bits (bits_of_row.h) by horizontal runs.
#pragma once

#include <cstdint>

namespace kel::imageprocess {

// Pixels `first` to first + length - 1, counted from the one that they are spread to: a row of a
// structuring element.
struct BitRun {
  int32_t first;   // > -64
  int32_t length;  // up to 63; first + length <= 64
};

// Rows have zeros around their words, which kernels read and write.
inline constexpr int64_t kBitsBefore = 2;   // words
inline constexpr int64_t kBitsBehind = 18;  // words
inline constexpr int32_t kBitLevels = 6;    // rows of scratch

// Sets in to[i] the pixels for which the run i has a pixel that is set in `row`. `scratch` has
// kBitLevels rows, each of which takes as many words as `words` and those around them, 0 at first.
void spread_bits(uint64_t* const* to, const uint64_t* row, int64_t words, const BitRun* runs,
                 int32_t count, uint64_t* scratch);
// to = the union of some rows.
void join_bits(uint64_t* to, const uint64_t* const* rows, int32_t count, int64_t words);

// Reference versions; results must match.
void spread_bits_plain(uint64_t* const* to, const uint64_t* row, int64_t words, const BitRun* runs,
                       int32_t count, uint64_t* scratch);
void join_bits_plain(uint64_t* to, const uint64_t* const* rows, int32_t count, int64_t words);

}  // namespace kel::imageprocess
