#include "outline/result.h"

#include <memory>

#include "core/contours/trace_contours.h"
#include "outline/main_contours.h"
#include "outline/polygons.h"
#include "outline/snap_to_border.h"

namespace outline {
namespace {

// Stores count and arrays first, all outlines empty, so that the record can be released whenever
// memory fails afterwards.
void store_empty_outlines(MKGetOutline& result, size_t count) {
  auto point_counts = std::make_unique<uint32_t[]>(count);
  auto points = std::make_unique<int32_t*[]>(count);
  result.contour_count = static_cast<uint32_t>(count);
  result.point_counts = point_counts.release();
  result.points = points.release();
}

void store_outline(MKGetOutline& result, size_t index, const kel::Contour& contour, bool reversed) {
  const size_t count = contour.size();
  auto* values = new int32_t[2 * count];
  result.points[index] = values;
  result.point_counts[index] = static_cast<uint32_t>(count);
  for (size_t k = 0; k < count; ++k) {
    const cv::Point point = contour[reversed ? count - 1 - k : k];
    values[2 * k] = point.x;
    values[2 * k + 1] = point.y;
  }
}

}  // namespace

void release_outlines(const MKGetOutline& result) {
  if (result.contour_count == 0) return;
  if (result.points != nullptr) {
    for (uint32_t i = 0; i < result.contour_count; ++i) delete[] result.points[i];
  }
  delete[] result.points;
  delete[] result.point_counts;
}

uint32_t get_contours_outline(const kel::BitMask& mask, MKGetOutline* result,
                              const MKOutlineMode* mode) {
  kel::Contours contours;
  kel::Hierarchy hierarchy;
  kel::trace_contours(mask, static_cast<int>(mode->chain_approx), contours, hierarchy);
  if (contours.empty()) {
    result->contour_count = 0;
    return MVK_NOT_FOUND;
  }
  if (mode->approx_poly != 0) use_approxPolyDP(contours);
  snap_to_border(contours, {mask.width(), mask.height()});
  std::set<int32_t> main;
  get_max_hierarchy_index(main, contours, hierarchy);

  store_empty_outlines(*result, contours.size());
  for (size_t i = 0; i < contours.size(); ++i) {
    store_outline(*result, i, contours[i], main.contains(static_cast<int32_t>(i)));
  }
  return MVK_OK;
}

}  // namespace outline
