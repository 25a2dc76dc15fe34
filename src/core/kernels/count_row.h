// Counts a value in the windows along a row.
#pragma once

#include <cstdint>

namespace kel::imageprocess {

// counts[x] = pixels of padded[x, x + ksize) that equal value, for `width` windows; ksize is below
// 200. Rows may be read or written up to 64 bytes beyond their end; padded and scratch have
// width + ksize bytes, counts has width.
void count_row(uint8_t* counts, const uint8_t* padded, int32_t width, int32_t ksize, uint8_t value,
               uint8_t* scratch);
// Reference version; results must match.
void count_row_plain(uint8_t* counts, const uint8_t* padded, int32_t width, int32_t ksize,
                     uint8_t value, uint8_t* scratch);

}  // namespace kel::imageprocess
