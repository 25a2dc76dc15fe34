// The outline service step by step over OpenCV's calls: every matrix cloned, every contour drawn by
// its index in the whole list. Slow and plain; judge of the tests and peer of the benchmarks.
#pragma once

#include <cstdint>
#include <opencv2/core.hpp>
#include <vector>

#include "morvik/morvik.h"

namespace test {

using Outlines = std::vector<std::vector<int32_t>>;  // x0, y0, x1, y1, ... of each

// Outlines of a packed gray image; empty where the service finds nothing.
Outlines outline_by_hand(const QX_OFFSCREEN& image, const MKOutlineMode& mode);

}  // namespace test
