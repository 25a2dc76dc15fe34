#pragma once

#include <cstdint>
#include <opencv2/core.hpp>

#include "core/pixel_region.h"

namespace kel::mask {

// Blurs src into dst, both GRAY or both RGB24 and of one size, rows packed. Returns
// MVK_BAD_ARGUMENT for other formats, an even ksize or one above 200, and an unknown type.
[[nodiscard]] uint32_t mk_blur(const KelPixelRegion& src, const KelPixelRegion& dst, uint32_t ksize,
                               MKBlur type, uint32_t param1, uint32_t param2);

// One of the four filters on matrices that do not overlap. Median repeats the
// pixels of the border, the others mirror the image there.
void use_blur(const cv::Mat& in, cv::Mat& out, int32_t ksize, MKBlur type, uint32_t param1,
              uint32_t param2);

}  // namespace kel::mask
