// Rows of B G R to B G R A and back.
#pragma once

#include <cstdint>

namespace kel::imageprocess {

// count is in pixels; alpha becomes 255.
void argb_from_rgb24_row(uint8_t* dst, const uint8_t* src, int64_t count);
void rgb24_from_argb_row(uint8_t* dst, const uint8_t* src, int64_t count);
// Reference versions; results must match.
void argb_from_rgb24_row_plain(uint8_t* dst, const uint8_t* src, int64_t count);
void rgb24_from_argb_row_plain(uint8_t* dst, const uint8_t* src, int64_t count);

}  // namespace kel::imageprocess
