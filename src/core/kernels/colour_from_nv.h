// Two rows of NV12 or NV21 to packed colours.
#pragma once

#include <cstdint>

#include "core/kernels/colour_order.h"

namespace kel::imageprocess {

// BT.601 in the studio range, to the byte as libyuv's vector code for x86-64 has it: with six
// fractional bits, the factor of U for blue cut to 2. Both pixels of a pair, in both rows, have its
// chroma. A single row is given twice.
void colour_from_nv(uint8_t* const colour[2], const uint8_t* const y[2], const uint8_t* chroma,
                    int64_t width, const ColourOrder& order);
// Reference version; results must match.
void colour_from_nv_plain(uint8_t* const colour[2], const uint8_t* const y[2],
                          const uint8_t* chroma, int64_t width, const ColourOrder& order);

}  // namespace kel::imageprocess
