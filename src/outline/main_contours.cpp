#include "outline/main_contours.h"

#include <opencv2/imgproc.hpp>

namespace outline {
namespace {

// By exact areas, unlike the one for holes, which has to compare them in single precision.
int32_t find_largest(const kel::Contours& contours) {
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

}  // namespace

void get_max_hierarchy_index(std::set<int32_t>& set, const kel::Contours& contours,
                             const kel::Hierarchy& hierarchy) {
  const int32_t largest = find_largest(contours);
  set.insert(largest);
  if (hierarchy.empty()) return;
  const auto link = [&](int32_t i, kel::Link which) {
    return hierarchy[static_cast<size_t>(i)][which];
  };
  // One side only, on purpose: the siblings on the other side are not main contours.
  const kel::Link side = link(largest, kel::kNext) < 0 ? kel::kPrevious : kel::kNext;
  for (int32_t i = link(largest, side); i >= 0; i = link(i, side)) set.insert(i);
}

}  // namespace outline
