#pragma once

#include <cstdint>

#include "core/pixel_region.h"

namespace kel::mask {

// The box of the pixels >= level of a GRAY image, rows by pitch; edges included. If there is
// none, rect is all 0 and the result MVK_NOT_FOUND.
[[nodiscard]] uint32_t get_mask_roi(const KelPixelRegion& image, MKRect& rect, uint32_t level);

}  // namespace kel::mask
