// The majority of windows over a mask with a bit for each pixel.
#pragma once

#include <cstdint>

namespace kel::imageprocess {

// A word of each row of a mask. Those beside it hold the pixels to its left and right.
struct WordColumn {
  static constexpr int32_t kLargestWindow = 31;

  const uint64_t* words;  // of row 0
  int64_t row_words;      // from row to row
  int32_t rows;           // outermost ones are repeated beyond
  int32_t ksize;          // side of the windows, odd, up to kLargestWindow
};

// Sets the bits of those pixels of the column, rows first to end - 1, whose windows have more
// pixels that are set than such that are not. to: the word of row `first`.
void find_majorities(uint64_t* to, int64_t to_row_words, const WordColumn& column, int32_t first,
                     int32_t end);
// Reference version; results must match.
void find_majorities_plain(uint64_t* to, int64_t to_row_words, const WordColumn& column,
                           int32_t first, int32_t end);

}  // namespace kel::imageprocess
