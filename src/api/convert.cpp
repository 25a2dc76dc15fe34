#include "core/convert.h"

#include "api/check.h"

uint32_t mvk_convert(const QX_OFFSCREEN* dst, const QX_OFFSCREEN* src) {
  using namespace mvk::api;
  if (const uint32_t code = check_pair(dst, src, kAnyFormat); code != MVK_OK) return code;
  if (dst->format == src->format) return MVK_BAD_ARGUMENT;
  KelPixelRegion to = *dst;
  const KelPixelRegion from = *src;
  kel::imageprocess::convert_pixel_format(to, from);
  return MVK_OK;
}
