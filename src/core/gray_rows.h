// Loops over one row of pixels, to gray and from gray. Sizes are pixels; bytes_per_pixel is 3
// (B G R) or 4 (B G R A).
#pragma once

#include <cstdint>

namespace kel::imageprocess {

// The mean of the first three bytes of each pixel, rounded down; the plain one is the definition of
// the other.
void gray_from_colour_row(uint8_t* dst, const uint8_t* src, int64_t count, int bytes_per_pixel);
void gray_from_colour_row_plain(uint8_t* dst, const uint8_t* src, int64_t count,
                                int bytes_per_pixel);

// The gray value three times; a fourth byte is 255.
void colour_from_gray_row(uint8_t* dst, const uint8_t* src, int64_t count, int bytes_per_pixel);

}  // namespace kel::imageprocess
