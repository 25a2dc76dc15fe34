// Borders as the blurs see them: mirrored, the outermost pixels not repeated.
#pragma once

#include <cstdint>

namespace kel::mask {

// Maps a position outside [0, end) to the pixel that the mirrored border shows there.
int64_t mirrored(int64_t at, int64_t end);

// Pixels first to first + count - 1 of a row of `width`; pixels have 1 or 3 bytes.
void copy_mirrored(uint8_t* to, const uint8_t* row, int64_t width, int pixel_bytes, int64_t first,
                   int64_t count);

}  // namespace kel::mask
