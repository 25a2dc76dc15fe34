#include "core/resize.h"

#include "api/check.h"

uint32_t mvk_resize(const QX_OFFSCREEN* dst, const QX_OFFSCREEN* src, uint32_t method) {
  using namespace mvk::api;
  if (const uint32_t code = check_pair(dst, src, kMovableFormats); code != MVK_OK) return code;
  if (const uint32_t code = check_same_format(*dst, *src); code != MVK_OK) return code;
  if (method > MVK_RESIZE_AREA) return MVK_BAD_ARGUMENT;
  KelPixelRegion to = *dst;
  const KelPixelRegion from = *src;
  kel::imgproc::resize(to, from, static_cast<kel::imageprocess::InterpolationMethod>(method));
  return MVK_OK;
}
