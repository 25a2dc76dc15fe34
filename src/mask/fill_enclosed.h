#pragma once

#include "core/contours/bit_mask.h"

namespace kel::mask {

// The mask with the pixels set, too, that no path of unset pixels, from neighbour to neighbour in
// rows and columns, joins to its border: with what the outer contours of its shapes enclose.
// `has_large_hole` becomes false unless an area enclosed by shape might, with the pixels around it,
// be larger than `large`.
BitMask fill_enclosed(const BitMask& shapes, int64_t large, bool& has_large_hole);

}  // namespace kel::mask
