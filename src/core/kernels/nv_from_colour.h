// Two rows of packed colours to NV12 or NV21.
#pragma once

#include <cstdint>

#include "core/kernels/colour_order.h"

namespace kel::imageprocess {

// BT.601 in the studio range, to the byte as libyuv's vector code for x86-64 has it: Y is rounded;
// a chroma pair is the colour of its 2 x 2 pixels, which are averaged
// vertically, then horizontally, each time rounding to nearest; the weighted sum is truncated. The
// last pair of an odd width is made of one column. A last row that has no second one is given
// twice.
void nv_from_colour(uint8_t* const y[2], uint8_t* chroma, const uint8_t* const colour[2],
                    int64_t width, const ColourOrder& order);
// Reference version; results must match.
void nv_from_colour_plain(uint8_t* const y[2], uint8_t* chroma, const uint8_t* const colour[2],
                          int64_t width, const ColourOrder& order);

}  // namespace kel::imageprocess
