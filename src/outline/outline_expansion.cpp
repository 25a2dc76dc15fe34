#include "outline/outline_expansion.h"

#include <algorithm>
#include <opencv2/imgproc.hpp>

#include "core/contours/fill_contours.h"
#include "core/contours/stroke_contours.h"
#include "core/contours/trace_contours.h"
#include "outline/expansion.h"
#include "outline/polygons.h"
#include "outline/result.h"
#include "outline/smoothing.h"
#include "outline/snap_to_border.h"

namespace outline {

void switch_mode_draw(kel::BitMask& mask, kel::Contours& contours, const kel::Hierarchy& hierarchy,
                      const MKOutlineMode* mode) {
  const uint16_t expand_size = mode->expand_size;
  const auto hulls = {MK_OMODE_HULL_FILL_STROKE, MK_OMODE_HULL_POLAR, MK_OMODE_HULL_VECTOR};
  if (std::find(hulls.begin(), hulls.end(), mode->mode) != hulls.end()) use_convexHull(contours);
  switch (mode->mode) {
    case MK_OMODE_STROKE:
      kel::stroke_contours(mask, contours, expand_size);
      break;
    case MK_OMODE_FILL_STROKE:
    case MK_OMODE_HULL_FILL_STROKE:
      kel::fill_top_level(mask, contours, hierarchy);
      kel::stroke_contours(mask, contours, expand_size);
      break;
    case MK_OMODE_POLAR:
    case MK_OMODE_HULL_POLAR:
      expansion_contours_polar(contours, expand_size, mask, hierarchy, nullptr);
      break;
    case MK_OMODE_POLAR_CENTER:
      expansion_contours_polar(contours, expand_size, mask, hierarchy, mode->center);
      break;
    case MK_OMODE_VECTOR:
    case MK_OMODE_HULL_VECTOR:
      expansion_contours_vector(contours, expand_size, mask, hierarchy, nullptr);
      break;
    case MK_OMODE_VECTOR_CENTER:
      expansion_contours_vector(contours, expand_size, mask, hierarchy, mode->center);
      break;
    default:
      break;
  }
  if (mode->smooth_level >= 1 && mode->smooth_level <= 5) {
    make_contour_mean_fast(mask, mode->smooth_level);
  }
}

uint32_t outline_expansion(const kel::imageprocess::Plane& gray, const MKOutlineMode* mode,
                           MKGetOutline* result) {
  constexpr int64_t kLongestSide = int64_t{1} << 30;  // leaves room for growing in an int
  if (std::max(gray.row_bytes, gray.rows) > kLongestSide) {
    result->contour_count = 0;
    return MVK_NOT_FOUND;
  }
  kel::BitMask shapes(gray, mode->threshold);
  kel::Contours contours;
  kel::Hierarchy hierarchy;
  // Simple runs here, whatever the caller wants returned: the expansions see these points.
  kel::trace_contours(shapes, cv::CHAIN_APPROX_SIMPLE, contours, hierarchy);
  if (contours.empty()) {
    result->contour_count = 0;
    return MVK_NOT_FOUND;
  }
  snap_to_border(contours, {shapes.width(), shapes.height()});
  switch_mode_draw(shapes, contours, hierarchy, mode);
  return get_contours_outline(shapes, result, mode);
}

uint32_t outline_expansion(KelPixelRegion image, const MKOutlineMode* mode, MKGetOutline* result) {
  return outline_expansion(
      kel::imageprocess::Plane(image.plane[0], image.width, image.height, image.width), mode,
      result);
}

}  // namespace outline
