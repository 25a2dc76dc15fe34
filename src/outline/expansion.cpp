#include "outline/expansion.h"

#include <algorithm>
#include <cmath>
#include <opencv2/imgproc.hpp>

#include "core/contours/fill_contours.h"
#include "core/contours/trace_contours.h"
#include "core/saturate.h"
#include "core/trigonometry.h"
#include "outline/main_contours.h"

namespace outline {
namespace {

cv::Point2d centre_of(const kel::Contour& contour, const TPOINT* center) {
  if (center != nullptr) return {static_cast<double>(center->x), static_cast<double>(center->y)};
  const cv::Moments moments = cv::moments(contour, false);
  return {moments.m10 / moments.m00, moments.m01 / moments.m00};  // not finite without an area
}

double distance_between(cv::Point point, cv::Point2d centre) {
  const double dx = point.x - centre.x;
  const double dy = point.y - centre.y;
  return std::sqrt(dx * dx + dy * dy);
}

// The largest over all points; not finite when a point lies on the centre (with an expand_size of
// 0: when the first one does).
double radial_scale(const kel::Contour& contour, cv::Point2d centre, uint16_t expand_size) {
  const auto scale_at = [&](cv::Point point) {
    const double distance = distance_between(point, centre);
    return (distance + expand_size) / distance;
  };
  double scale = scale_at(contour.front());
  for (const cv::Point point : contour) scale = std::max(scale, scale_at(point));
  return scale;
}

// 32-bit addition that wraps.
int32_t add(int32_t a, uint32_t b) { return static_cast<int32_t>(static_cast<uint32_t>(a) + b); }

// Offset and centre are truncated each on its own.
int32_t place(double offset, double centre) {
  return add(kel::saturate_to_int32(offset), static_cast<uint32_t>(kel::saturate_to_int32(centre)));
}

// Whether values that differ from this one by rounding errors are truncated alike.
bool truncates_safely(double value) {
  constexpr double kMargin = 1e-6;
  const double rest = std::abs(value - static_cast<double>(static_cast<int64_t>(value)));
  return std::abs(value) < 0.5 || (rest > kMargin && rest < 1.0 - kMargin);
}

// The points are defined by radius and angle. Scaled offsets are the same numbers but for the last
// bits, which matter next to whole numbers only.
void scale_contour(kel::Contour& contour, cv::Point2d centre, double scale) {
  constexpr double kFar = 1e6;  // up to here the last bits are far below the margin
  for (cv::Point& point : contour) {
    cv::Point2d offset{(point.x - centre.x) * scale, (point.y - centre.y) * scale};
    const bool is_near = std::abs(offset.x) < kFar && std::abs(offset.y) < kFar;
    if (!is_near || !truncates_safely(offset.x) || !truncates_safely(offset.y)) {
      const double radius = distance_between(point, centre) * scale;
      const double angle = kel::angle_of(point.y - centre.y, point.x - centre.x);
      offset = {radius * kel::cosine_of(angle), radius * kel::sine_of(angle)};
    }
    point = {place(offset.x, centre.x), place(offset.y, centre.y)};
  }
}

// One-sided on purpose: an offset to the left or up becomes 0.
void push_contour(kel::Contour& contour, cv::Point2d centre, uint16_t expand_size) {
  const cv::Rect box = cv::boundingRect(contour);
  const float per_pixel = 2.0F / static_cast<float>(std::max(box.width, box.height));
  const double factor = static_cast<double>(per_pixel) * expand_size;
  for (cv::Point& point : contour) {
    point.x = add(point.x, kel::saturate_to_uint32(factor * (point.x - centre.x)));
    point.y = add(point.y, kel::saturate_to_uint32(factor * (point.y - centre.y)));
  }
}

// Calls move(contour, centre) for each main contour that has points and a finite centre.
template <typename Move>
void move_main_contours(kel::Contours& contours, const kel::Hierarchy& hierarchy,
                        const TPOINT* center, Move move) {
  std::set<int32_t> main;
  get_max_hierarchy_index(main, contours, hierarchy);
  for (const int32_t i : main) {
    kel::Contour& contour = contours[static_cast<size_t>(i)];
    if (contour.empty()) continue;
    const cv::Point2d centre = centre_of(contour, center);
    if (std::isfinite(centre.x) && std::isfinite(centre.y)) move(contour, centre);
  }
}

}  // namespace

void expansion_contours_polar(kel::Contours& contours, uint16_t expand_size, kel::BitMask& mask,
                              const kel::Hierarchy& hierarchy, const TPOINT* center) {
  if (contours.empty()) return;
  move_main_contours(contours, hierarchy, center, [&](kel::Contour& contour, cv::Point2d centre) {
    const double scale = radial_scale(contour, centre, expand_size);
    if (std::isfinite(scale)) scale_contour(contour, centre, scale);
  });
  kel::fill_contours(mask, contours);
}

void expansion_contours_vector(kel::Contours& contours, uint16_t expand_size, kel::BitMask& mask,
                               const kel::Hierarchy& hierarchy, const TPOINT* center) {
  if (contours.empty()) return;
  move_main_contours(contours, hierarchy, center, [&](kel::Contour& contour, cv::Point2d centre) {
    push_contour(contour, centre, expand_size);
  });
  kel::fill_contours(mask, contours);
}

}  // namespace outline
