// Rows with the border that blurs see (core/mirrored.h).
#pragma once

#include <cstdint>

namespace kel::mask {

// Pixels first to first + count - 1 of a row of `width`; pixels have 1 or 3 bytes.
void copy_mirrored(uint8_t* to, const uint8_t* row, int64_t width, int pixel_bytes, int64_t first,
                   int64_t count);

}  // namespace kel::mask
