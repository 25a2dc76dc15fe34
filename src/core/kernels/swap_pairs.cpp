#include "core/kernels/vector_targets.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "core/kernels/swap_pairs.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

#include "core/kernels/swap_pairs.h"

HWY_BEFORE_NAMESPACE();
namespace kel::imageprocess::HWY_NAMESPACE {

#if HWY_TARGET == HWY_SCALAR || HWY_TARGET == HWY_EMU128  // no vectors

void swap_pairs(uint8_t* dst, const uint8_t* src, int64_t pairs) {
  swap_pairs_plain(dst, src, pairs);
}

#else

namespace hn = hwy::HWY_NAMESPACE;

alignas(16) constexpr uint8_t kSwapped[16] = {1, 0, 3, 2, 5, 4, 7, 6, 9, 8, 11, 10, 13, 12, 15, 14};

void swap_pairs(uint8_t* dst, const uint8_t* src, int64_t pairs) {
  const hn::ScalableTag<uint8_t> d;
  constexpr auto kLanes = static_cast<int64_t>(hn::MaxLanes(d));
  constexpr int64_t kStep = 4 * kLanes;
  const int64_t size = 2 * pairs;
  if (size < kStep) return swap_pairs_plain(dst, src, pairs);
  const auto swapped = hn::LoadDup128(d, kSwapped);
  for (int64_t x = 0; x < size; x += kStep) {
    const int64_t at = HWY_MIN(x, size - kStep);  // the last vectors end with the row
    HWY_UNROLL(4)
    for (int64_t i = at; i < at + kStep; i += kLanes) {
      hn::StoreU(hn::TableLookupBytes(hn::LoadU(d, src + i), swapped), d, dst + i);
    }
  }
}

#endif

}  // namespace kel::imageprocess::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace kel::imageprocess {

HWY_EXPORT(swap_pairs);

void swap_pairs(uint8_t* dst, const uint8_t* src, int64_t pairs) {
  HWY_DYNAMIC_DISPATCH(swap_pairs)(dst, src, pairs);
}

}  // namespace kel::imageprocess
#endif
