#include "outline/closed_length.h"

#include <cmath>

namespace outline {

double closed_length(const kel::Contour& contour) {
  if (contour.size() < 2) return 0.0;
  double length = 0.0;
  cv::Point2f from = contour.back();
  for (const cv::Point2f to : contour) {
    const float dx = to.x - from.x;
    const float dy = to.y - from.y;
    length += double{std::sqrt(dx * dx + dy * dy)};
    from = to;
  }
  return length;
}

}  // namespace outline
