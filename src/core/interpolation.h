#pragma once

#include <cstdint>

namespace kel::imageprocess {

// OpenCV's codes.
enum class InterpolationMethod : uint32_t { kNearest = 0, kLinear = 1, kCubic = 2, kArea = 3 };

}  // namespace kel::imageprocess
