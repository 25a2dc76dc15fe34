#include "api/check.h"
#include "mask/caller_mat.h"
#include "mask/morph_trans.h"

uint32_t mvk_mask_morph(const QX_OFFSCREEN* dst, const QX_OFFSCREEN* src, int32_t amount) {
  using namespace mvk::api;
  constexpr int32_t kLargestAmount = 200;
  if (const uint32_t code = check_pair(dst, src, kGray); code != MVK_OK) return code;
  if (dst->width != src->width || dst->height != src->height) return MVK_BAD_ARGUMENT;
  if (amount < -kLargestAmount || amount > kLargestAmount) return MVK_BAD_ARGUMENT;
  const cv::Mat from = kel::mask::source_mat(*src, *dst, CV_8UC1);
  cv::Mat to = kel::packed_mat(*dst, CV_8UC1);
  if (amount == 0) to.setTo(0);  // the only refusal that writes: amount 0 gives an empty mask
  return kel::mask::morph_trans(from, to, amount);
}
