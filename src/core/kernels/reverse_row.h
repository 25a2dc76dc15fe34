// Mirrors a row of elements of 1 to 4 bytes.
#pragma once

#include <cstdint>

namespace kel::imageprocess {

// dst(x) = src(count - 1 - x).
void reverse_row(uint8_t* dst, const uint8_t* src, int64_t count, int element_bytes);
// Reference version; results must match.
void reverse_row_plain(uint8_t* dst, const uint8_t* src, int64_t count, int element_bytes);

}  // namespace kel::imageprocess
