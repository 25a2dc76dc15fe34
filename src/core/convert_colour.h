// Conversions between colour formats.
#pragma once

#include "core/pixel_region.h"

namespace kel::imageprocess {

// Converts between two colour formats; a pair without a conversion writes nothing. The results are
// those of libyuv's conversions between the same formats on x86-64; it rounds differently on other
// processors. Rows are written from top to bottom: with a pitch shorter than a row, later
// rows overwrite earlier ones.
void convert_colour(const KelPixelRegion& dst, const KelPixelRegion& src);

}  // namespace kel::imageprocess
