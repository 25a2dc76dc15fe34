// Bilinear enlargement of masks, whose cost follows their edges: what lies between two pixels of
// one value has that value.
#pragma once

#include <opencv2/core/mat.hpp>

namespace kel::mask {

// Same bytes as resize_plane() with linear interpolation; both CV_8UC1.
void enlarge(cv::Mat& dst, const cv::Mat& src);

}  // namespace kel::mask
