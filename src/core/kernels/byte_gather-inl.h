// Included once for each instruction set, by the kernels that gather.
#if defined(KEL_BYTE_GATHER_INL) == defined(HWY_TARGET_TOGGLE)
#ifdef KEL_BYTE_GATHER_INL
#undef KEL_BYTE_GATHER_INL
#else
#define KEL_BYTE_GATHER_INL
#endif

#include <hwy/highway.h>

#include "core/kernels/byte_gather.h"

HWY_BEFORE_NAMESPACE();
namespace kel::imgproc::HWY_NAMESPACE {

#if HWY_TARGET != HWY_SCALAR && HWY_TARGET != HWY_EMU128

namespace hn = hwy::HWY_NAMESPACE;

// One block, or two of them side by side.
using GatheredBytes = hn::CappedTag<uint8_t, 32>;
inline constexpr int64_t kGatheredBlocks =
    static_cast<int64_t>(hn::MaxLanes(GatheredBytes())) / ByteGather::kBlock;

template <class D = GatheredBytes>
HWY_INLINE hn::Vec<D> load_windows(const uint8_t* row, const uint32_t* starts) {
  const hn::CappedTag<uint8_t, 16> d16;
  const auto first = hn::LoadU(d16, row + starts[0]);
  if constexpr (hn::MaxLanes(D()) == ByteGather::kBlock) {
    return first;
  } else {
    return hn::Combine(D(), hn::LoadU(d16, row + starts[1]), first);
  }
}

// The blocks that start with `block`. kWindows is the plan's number of windows, 0 for any.
template <int kWindows>
HWY_INLINE hn::Vec<GatheredBytes> gather_blocks(const uint8_t* row, const ByteGather& gather,
                                                int64_t block) {
  const GatheredBytes d;
  const uint32_t* starts = gather.starts.data() + block;
  const uint8_t* lookup = gather.lookup.data() + ByteGather::kBlock * block;
  const int64_t windows = kWindows == 0 ? gather.windows : kWindows;
  auto bytes = hn::TableLookupBytesOr0(load_windows<>(row, starts), hn::LoadU(d, lookup));
  for (int64_t i = 1; i < windows; ++i) {
    starts += gather.blocks;
    lookup += ByteGather::kBlock * gather.blocks;
    const auto more = hn::TableLookupBytesOr0(load_windows<>(row, starts), hn::LoadU(d, lookup));
    bytes = hn::Or(bytes, more);
  }
  return bytes;
}

#endif

}  // namespace kel::imgproc::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#endif
