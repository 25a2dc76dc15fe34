#include "outline/contours.h"

#include <opencv2/imgproc.hpp>

namespace outline {
namespace {

constexpr int kEdgeMargin = 2;

enum Link { kNext = 0, kPrevious = 1 };

int32_t find_largest(const Contours& contours) {
  int32_t largest = 0;
  double largest_area = -1.0;
  for (size_t i = 0; i < contours.size(); ++i) {
    const double area = cv::contourArea(contours[i]);
    if (area > largest_area) {
      largest_area = area;
      largest = static_cast<int32_t>(i);
    }
  }
  return largest;
}

// The upper rule sees what the lower one made of the value: in a very narrow image it wins.
int snap(int value, int size) {
  if (value < kEdgeMargin) value = 0;
  if (value >= size - kEdgeMargin) value = size - 1;
  return value;
}

}  // namespace

void get_max_hierarchy_index(std::set<int32_t>& set, const Contours& contours,
                             const Hierarchy& hierarchy) {
  const int32_t largest = find_largest(contours);
  set.insert(largest);
  if (hierarchy.empty()) return;
  const auto link = [&](int32_t i, Link which) { return hierarchy[static_cast<size_t>(i)][which]; };
  // One side only, on purpose: the siblings on the other side are not main contours.
  const Link side = link(largest, kNext) < 0 ? kPrevious : kNext;
  for (int32_t i = link(largest, side); i >= 0; i = link(i, side)) set.insert(i);
}

void use_approxPolyDP(Contours& contours) {
  constexpr double kTolerance = 0.01F;  // of the length; the single-precision value
  Contour polygon;
  for (Contour& contour : contours) {
    cv::approxPolyDP(contour, polygon, cv::arcLength(contour, true) * kTolerance, true);
    contour.swap(polygon);
  }
}

void use_convexHull(Contours& contours) {
  Contour hull;
  for (Contour& contour : contours) {
    cv::convexHull(contour, hull, true, true);
    contour.swap(hull);
  }
}

void snap_to_edges(Contours& contours, cv::Size size) {
  for (Contour& contour : contours) {
    for (cv::Point& point : contour) {
      point.x = snap(point.x, size.width);
      point.y = snap(point.y, size.height);
    }
  }
}

}  // namespace outline
