#include "mask/fill_area_up.h"

#include "api/check.h"

uint32_t mvk_fill_area_up(const QX_OFFSCREEN* image, uint32_t count, const TPOINT* points) {
  using namespace mvk::api;
  if (const uint32_t code = check_planes({image}); code != MVK_OK) return code;
  if (const uint32_t code = check_image(*image, kGray); code != MVK_OK) return code;
  if (points == nullptr) return MVK_BAD_ARGUMENT;
  return kel::mask::fill_area_up(*image, points, count);
}
