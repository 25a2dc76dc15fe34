// Conversions between colour formats.
#pragma once

#include "core/pixel_region.h"

namespace kel::imageprocess {

// Converts between two colour formats; a pair without a conversion writes nothing. The results are
// those of libyuv's functions of the same names on x86-64, whose arithmetic is one of many that the
// standards allow; it does not give them on every processor and in every version itself. Rows are
// written from top to bottom: a pitch that is too short for a row shows it.
void convert_colour(const KelPixelRegion& dst, const KelPixelRegion& src);

}  // namespace kel::imageprocess
