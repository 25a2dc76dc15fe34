#pragma once

#include <cstdint>

#include "core/contours/bit_mask.h"

namespace kel::mask {

inline constexpr int32_t kLargestMajorityWindow = 31;

// The pixels around which more than half of a window is set; border pixels are repeated beyond the
// sides. ksize: the window's side, odd, from 3 to kLargestMajorityWindow. The cost is that of the
// edges: where a window is of one kind it is not counted.
BitMask majority(const BitMask& mask, int32_t ksize);

}  // namespace kel::mask
