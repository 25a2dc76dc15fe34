#pragma once

#include "core/contours/bit_mask.h"

namespace kel::mask {

// Returns the mask with every enclosed pixel set as well. An unset pixel is enclosed if no
// 4-connected path of unset pixels leads from it to the border of the mask. `has_large_hole` tells
// whether an enclosed area, including the pixels around it, may exceed `large` pixels.
BitMask fill_enclosed(const BitMask& shapes, int64_t large, bool& has_large_hole);

}  // namespace kel::mask
