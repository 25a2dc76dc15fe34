// Conversions between colour formats by libyuv.
#pragma once

#include "morvik/morvik.h"

namespace kel::libyuv {

// Converts between two colour formats; false when there is no conversion for the pair.
[[nodiscard]] bool convert_pixel_format(QX_OFFSCREEN* dst, QX_OFFSCREEN* src);

}  // namespace kel::libyuv
