#include "outline/contours.h"

#include <limits>
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

bool is_empty(const cv::Mat& image) {
  const int width = image.cols;
  for (int y = 0; y < image.rows; ++y) {
    const uint8_t* row = image.ptr(y);
    uint8_t any = 0;
    for (int x = 0; x < width; ++x) any |= row[x];
    if (any != 0) return false;
  }
  return true;
}

// A box that holds all shapes, empty without any: exact in its rows, to a cache line in its
// columns. Looks at little more than what it leaves out.
cv::Rect find_shapes(const cv::Mat& image) {
  constexpr int kColumns = 64;
  int top = 0;
  int bottom = image.rows;
  while (top < bottom && is_empty(image.row(top))) ++top;
  if (top == bottom) return {};
  while (is_empty(image.row(bottom - 1))) --bottom;
  const cv::Mat rows = image.rowRange(top, bottom);
  int left = 0;
  int right = image.cols;
  while (right - left > kColumns && is_empty(rows.colRange(left, left + kColumns))) {
    left += kColumns;
  }
  while (right - left > kColumns && is_empty(rows.colRange(right - kColumns, right))) {
    right -= kColumns;
  }
  return {left, top, right - left, bottom - top};
}

// OpenCV counts the pixels of a traced image, with a border of one around it, in 32 bits.
bool can_trace(cv::Size size) {
  return (int64_t{size.width} + 2) * (int64_t{size.height} + 2) <= std::numeric_limits<int>::max();
}

// The upper rule sees what the lower one made of the value: in a very narrow image it wins.
int snap(int value, int size) {
  if (value < kEdgeMargin) value = 0;
  if (value >= size - kEdgeMargin) value = size - 1;
  return value;
}

}  // namespace

// The tracer copies and scans what it is given: only the box that holds shapes is.
void trace_contours(const cv::Mat& image, int approximation, Contours& contours,
                    Hierarchy& hierarchy) {
  const cv::Rect box = find_shapes(image);
  if (box.empty() || !can_trace(box.size())) return;
  cv::findContours(image(box), contours, hierarchy, cv::RETR_TREE, approximation, box.tl());
}

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
