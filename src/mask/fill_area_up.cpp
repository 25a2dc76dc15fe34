#include "mask/fill_area_up.h"

#include "core/contours/polygon_filler.h"
#include "core/mat_view.h"

namespace kel::mask {

uint32_t fill_area_up(cv::Mat& mask, const Contours& contours) {
  if (mask.type() != CV_8UC1) return MVK_BAD_ARGUMENT;
  BitMask area(mask.cols, mask.rows);
  PolygonFiller filler(area);
  if (!contours.empty()) filler.add(contours[0]);
  filler.fill();
  area.write(mask);
  return MVK_OK;
}

uint32_t fill_area_up(const KelPixelRegion& image, const TPOINT* points, uint32_t count) {
  Contours contours(1);
  contours[0].reserve(count);
  for (uint32_t i = 0; i < count; ++i) contours[0].emplace_back(points[i].x, points[i].y);
  cv::Mat mask = packed_mat(image, CV_8UC1);
  return fill_area_up(mask, contours);
}

}  // namespace kel::mask
