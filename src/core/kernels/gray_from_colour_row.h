// One row of colour pixels to gray.
#pragma once

#include <cstdint>

namespace kel::imageprocess {

// The mean of the first three bytes of each of `count` pixels, rounded down. bytes_per_pixel is 3
// or 4.
void gray_from_colour_row(uint8_t* dst, const uint8_t* src, int64_t count, int bytes_per_pixel);
// Reference version; results must match.
void gray_from_colour_row_plain(uint8_t* dst, const uint8_t* src, int64_t count,
                                int bytes_per_pixel);

}  // namespace kel::imageprocess
