#include "mask/make_up_holes.h"

#include "api/check.h"

uint32_t mvk_make_up_holes(const QX_OFFSCREEN* dst, const QX_OFFSCREEN* src, uint32_t level) {
  using namespace mvk::api;
  if (const uint32_t code = check_pair(dst, src, kGray); code != MVK_OK) return code;
  if (const uint32_t code = check_same_size(*dst, *src); code != MVK_OK) return code;
  if (level > 254) return MVK_BAD_ARGUMENT;
  return kel::mask::make_up_holes(*src, *dst, level);
}
