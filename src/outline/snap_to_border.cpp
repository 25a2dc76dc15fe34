#include "outline/snap_to_border.h"

namespace outline {
namespace {

constexpr int kEdgeMargin = 2;

// The second rule sees the result of the first: in an image narrower than both margins it wins.
int snap(int value, int size) {
  if (value < kEdgeMargin) value = 0;
  if (value >= size - kEdgeMargin) value = size - 1;
  return value;
}

}  // namespace

void snap_to_border(kel::Contours& contours, cv::Size size) {
  for (kel::Contour& contour : contours) {
    for (cv::Point& point : contour) {
      point.x = snap(point.x, size.width);
      point.y = snap(point.y, size.height);
    }
  }
}

}  // namespace outline
