// Contour lists as cv::findContours makes them.
#pragma once

#include <opencv2/core.hpp>
#include <vector>

namespace kel {

using Contour = std::vector<cv::Point>;
using Contours = std::vector<Contour>;

// For each contour the indices of others, kNoContour where there is none.
using Hierarchy = std::vector<cv::Vec4i>;
enum Link { kNext, kPrevious, kFirstChild, kParent };  // the first two: siblings
inline constexpr int kNoContour = -1;

}  // namespace kel
