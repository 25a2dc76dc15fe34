#include "api/check.h"
#include "mask/mask_smooth.h"

uint32_t mvk_make_mask_smooth(const QX_OFFSCREEN* dst, const QX_OFFSCREEN* mask,
                              const QX_OFFSCREEN* guide, uint32_t mode, uint32_t limit) {
  using namespace mvk::api;
  constexpr int32_t kLargestMaskSide = 520;
  constexpr uint32_t kMedianSide = 25;
  if (const uint32_t code = check_planes({mask, dst, guide}); code != MVK_OK) return code;
  if (const uint32_t code = check_image(*mask, kGray); code != MVK_OK) return code;
  if (const uint32_t code = check_image(*guide, kRgb24); code != MVK_OK) return code;
  if (const uint32_t code = check_image(*dst, kGray); code != MVK_OK) return code;
  if (const uint32_t code = check_same_size(*dst, *guide); code != MVK_OK) return code;
  if (guide->width <= mask->width || guide->height <= mask->height) return MVK_BAD_ARGUMENT;
  if (mask->width > kLargestMaskSide || mask->height > kLargestMaskSide) return MVK_BAD_ARGUMENT;
  return kel::mask::mask_smooth(*mask, *dst, *guide, mode, limit, kMedianSide);
}
