#include "mask/fill_area_up.h"

#include <climits>
#include <opencv2/imgproc.hpp>

#include "morvik/morvik.h"

namespace kel::mask {

uint32_t fill_area_up(cv::Mat& mask, const std::vector<std::vector<cv::Point>>& contours) {
  if (mask.type() != CV_8UC1) return MVK_BAD_ARGUMENT;
  // OpenCV refuses a contour without points; one with more than it can count is left out, too.
  constexpr size_t kMostPoints = INT_MAX - 2;
  if (contours.empty() || contours[0].empty() || contours[0].size() > kMostPoints) return MVK_OK;
  cv::drawContours(mask, contours, 0, cv::Scalar(255), cv::FILLED, 0, cv::noArray(), INT_MAX);
  return MVK_OK;
}

}  // namespace kel::mask
