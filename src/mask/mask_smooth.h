#pragma once

#include <cstdint>

#include "core/pixel_region.h"

namespace kel::mask {

// Enlarges mask to dst with smooth edges (see mvk_make_mask_smooth); ksize is the side of the
// median at the working size. Returns kUnusableSize for a ksize that is even or above 200.
[[nodiscard]] uint32_t mask_smooth(const KelPixelRegion& mask, const KelPixelRegion& dst,
                                   const KelPixelRegion& guide, uint32_t mode, uint32_t limit,
                                   uint32_t ksize);

// The pipeline itself. MVK_BAD_ARGUMENT when limit is too small for a working size.
[[nodiscard]] uint32_t use_opencv(const KelPixelRegion& dst, const KelPixelRegion& mask,
                                  uint32_t ksize, const KelPixelRegion& guide, uint32_t mode,
                                  uint32_t limit);

}  // namespace kel::mask
