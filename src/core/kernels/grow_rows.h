// Growing the runs of set bits in rows of words (bits_of_row.h).
#pragma once

#include <cstdint>

namespace kel::imageprocess {

// Words [begin, end) of rows, one each `stride` words.
struct WordRows {
  int64_t begin;
  int64_t end;
  int64_t stride;
  int64_t count;
};

// Sets in each row of `to` the bits of `from`, their neighbours in the row, and the bits of two
// other rows. A word is read on either side of those of `from`.
void grow_rows(uint64_t* to, const uint64_t* from, const WordRows& rows, const uint64_t* const* a,
               const uint64_t* const* b);

// Reference version; results must match.
void grow_rows_plain(uint64_t* to, const uint64_t* from, const WordRows& rows,
                     const uint64_t* const* a, const uint64_t* const* b);

}  // namespace kel::imageprocess
