#include "api/check.h"
#include "mask/mk_blur.h"

// The source comes first, unlike in the other image operations.
uint32_t mvk_smooth(const QX_OFFSCREEN* src, const QX_OFFSCREEN* dst, uint32_t ksize, MKBlur type,
                    uint32_t /*reserved*/, uint32_t param1, uint32_t param2) {
  using namespace mvk::api;
  if (const uint32_t code = check_pair(dst, src, kGrayOrRgb24); code != MVK_OK) return code;
  if (const uint32_t code = check_same_format(*dst, *src); code != MVK_OK) return code;
  if (const uint32_t code = check_same_size(*dst, *src); code != MVK_OK) return code;
  if (type > MKBlur::Bilateral || ksize > 200 || ksize % 2 == 0) return MVK_BAD_ARGUMENT;
  return kel::mask::mk_blur(*src, *dst, ksize, type, param1, param2);
}
