// Where rows of gray pixels are all black, or all white.
#pragma once

#include <cstdint>

namespace kel::imageprocess {

// Bit x % 64 of word x / 64 tells whether any of the rows' pixels in column x is not 0 (lit), or
// not 255 (unlit); what is left of the last words becomes 0. There is at least one row.
void extremes_of_rows(uint64_t* lit, uint64_t* unlit, const uint8_t* const* rows, int32_t count,
                      int64_t width);
// Reference version; results must match.
void extremes_of_rows_plain(uint64_t* lit, uint64_t* unlit, const uint8_t* const* rows,
                            int32_t count, int64_t width);

}  // namespace kel::imageprocess
