// Pixel-format conversion of whole regions.
#pragma once

#include <cstdint>

#include "core/pixel_region.h"

namespace kel::imageprocess {

// Converts src into the planes of dst, which have the right size; a pair without a conversion
// writes nothing, equal formats are copied.
void convert_pixel_format(KelPixelRegion& dst, const KelPixelRegion& src);

// Between typed views. The destination's size counts.
template <uint32_t From, uint32_t To>
void convert_pixel_format(PixelRegion_<To>& dst, const PixelRegion_<From>& src);
template <>
void convert_pixel_format<QX_FMT_NV21, QX_FMT_GRAY>(PixelRegion_<QX_FMT_GRAY>& dst,
                                                    const PixelRegion_<QX_FMT_NV21>& src);

}  // namespace kel::imageprocess
