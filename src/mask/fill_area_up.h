#pragma once

#include <cstdint>
#include <opencv2/core.hpp>

#include "core/contours/contours.h"
#include "core/pixel_region.h"

namespace kel::mask {

// The mask becomes that of the first of the contours: 255 inside, even-odd where it crosses itself,
// and 0 elsewhere. Returns MVK_BAD_ARGUMENT for a mask that is not CV_8UC1.
[[nodiscard]] uint32_t fill_area_up(cv::Mat& mask, const Contours& contours);

// A GRAY region, rows packed, becomes the polygon's mask: 255 inside, 0 elsewhere.
[[nodiscard]] uint32_t fill_area_up(const KelPixelRegion& image, const TPOINT* points,
                                    uint32_t count);

}  // namespace kel::mask
