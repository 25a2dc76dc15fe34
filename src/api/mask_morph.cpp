#include "api/check.h"
#include "mask/morph_trans.h"

uint32_t mvk_mask_morph(const QX_OFFSCREEN* dst, const QX_OFFSCREEN* src, int32_t amount) {
  using namespace mvk::api;
  constexpr int32_t kLargestAmount = 200;
  if (const uint32_t code = check_pair(dst, src, kGray); code != MVK_OK) return code;
  if (const uint32_t code = check_same_size(*dst, *src); code != MVK_OK) return code;
  if (amount < -kLargestAmount || amount > kLargestAmount) return MVK_BAD_ARGUMENT;
  return kel::mask::morph_trans(*src, *dst, amount);
}
