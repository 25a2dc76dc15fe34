#include "mask/get_mask_roi.h"

#include "api/check.h"

// Sizes and pitch are not checked: an image without pixels has no box.
uint32_t mvk_get_mask_roi(const QX_OFFSCREEN* image, MKRect* rect, uint32_t level) {
  using namespace mvk::api;
  if (const uint32_t code = check_planes({image}); code != MVK_OK) return code;
  if (rect == nullptr || !kGray.has(image->format)) return MVK_BAD_ARGUMENT;
  if (level == 0 || level == 255) return MVK_BAD_ARGUMENT;
  return kel::mask::get_mask_roi(*image, *rect, level);
}
