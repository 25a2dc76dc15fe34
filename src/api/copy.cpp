#include "core/copy.h"

#include "api/check.h"

// Sizes and pitches are not checked here: the copy itself skips images that do not fit.
uint32_t mvk_copy(const QX_OFFSCREEN* dst, const QX_OFFSCREEN* src) {
  using namespace mvk::api;
  if (const uint32_t code = check_planes({src, dst}); code != MVK_OK) return code;
  if (!kMovableFormats.has(src->format)) return MVK_BAD_ARGUMENT;
  if (const uint32_t code = check_same_format(*dst, *src); code != MVK_OK) return code;
  kel::imageprocess::copy(*dst, *src);
  return MVK_OK;
}
