#include "mask/fill_area_up.h"

#include "core/polygon_filler.h"
#include "morvik/morvik.h"

namespace kel::mask {

uint32_t fill_area_up(cv::Mat& mask, const std::vector<std::vector<cv::Point>>& contours) {
  if (mask.type() != CV_8UC1) return MVK_BAD_ARGUMENT;
  if (contours.empty()) return MVK_OK;
  PolygonFiller filler(mask, 255);
  filler.add(contours[0]);
  filler.fill();
  return MVK_OK;
}

}  // namespace kel::mask
