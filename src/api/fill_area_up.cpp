#include "mask/fill_area_up.h"

#include "api/check.h"
#include "core/mat_view.h"

uint32_t mvk_fill_area_up(const QX_OFFSCREEN* image, uint32_t count, const TPOINT* points) {
  using namespace mvk::api;
  if (const uint32_t code = check_planes({image}); code != MVK_OK) return code;
  if (const uint32_t code = check_image(*image, kGray); code != MVK_OK) return code;
  if (points == nullptr) return MVK_BAD_ARGUMENT;
  std::vector<std::vector<cv::Point>> contours(1);
  contours[0].reserve(count);
  for (uint32_t i = 0; i < count; ++i) contours[0].emplace_back(points[i].x, points[i].y);
  cv::Mat mask = kel::packed_mat(*image, CV_8UC1);
  mask.setTo(0);
  return kel::mask::fill_area_up(mask, contours);
}
