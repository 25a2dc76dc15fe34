// Included once for each instruction set, by the kernels that gather.
#if defined(KEL_BYTE_GATHER_INL) == defined(HWY_TARGET_TOGGLE)
#ifdef KEL_BYTE_GATHER_INL
#undef KEL_BYTE_GATHER_INL
#else
#define KEL_BYTE_GATHER_INL
#endif

#include <hwy/cache_control.h>
#include <hwy/highway.h>

#include "core/kernels/byte_gather.h"
#include "core/kernels/prefetch.h"

HWY_BEFORE_NAMESPACE();
namespace kel::imgproc::HWY_NAMESPACE {

#if HWY_TARGET != HWY_SCALAR && HWY_TARGET != HWY_EMU128

namespace hn = hwy::HWY_NAMESPACE;

// One block, or two of them side by side.
using GatheredBytes = hn::CappedTag<uint8_t, 32>;
inline constexpr int64_t kGatheredBlocks =
    static_cast<int64_t>(hn::MaxLanes(GatheredBytes())) / ByteGather::kBlock;

template <class D = GatheredBytes>
HWY_INLINE hn::Vec<D> load_windows(const uint8_t* row, const int32_t* starts) {
  const hn::CappedTag<uint8_t, 16> d16;
  const auto first = hn::LoadU(d16, row + starts[0]);
  if constexpr (hn::MaxLanes(D()) == ByteGather::kBlock) {
    return first;
  } else {
    return hn::Combine(D(), hn::LoadU(d16, row + starts[1]), first);
  }
}

// Into the second cache, for rows to come.
HWY_INLINE void prefetch(const uint8_t* at) { __builtin_prefetch(at, 0, 2); }

// A plan of which kWindows windows are used, 0 for all. It is a copy, as rows should be where they
// are used: compilers take it that stores of vectors change everything else.
template <int kWindows>
class Gatherer {
 public:
  HWY_INLINE Gatherer(const ByteGather& plan, int64_t ahead)
      : starts_(plan.starts.data()),
        lookup_(plan.lookup.data()),
        blocks_(plan.blocks),
        windows_(kWindows == 0 ? plan.windows : kWindows),
        ahead_(ahead) {}

  // The blocks that start with `block`, of each row.
  template <int kRows>
  HWY_INLINE void blocks(const uint8_t* const* rows, int64_t block,
                         hn::Vec<GatheredBytes> (&bytes)[kRows]) const {
    const GatheredBytes d;
    HWY_UNROLL(2)
    for (int row = 0; row < kRows; ++row) bytes[row] = hn::Zero(d);  // GCC would warn
    for (int64_t i = 0; i < windows_; ++i, block += blocks_) {
      const int32_t* starts = starts_ + block;
      const auto places = hn::LoadU(d, lookup_ + ByteGather::kBlock * block);
      HWY_UNROLL(2)
      for (int row = 0; row < kRows; ++row) {
        const auto found = hn::TableLookupBytesOr0(load_windows<>(rows[row], starts), places);
        bytes[row] = i == 0 ? found : hn::Or(bytes[row], found);
        if (i == 0) prefetch(rows[row] + starts[0] + ahead_);
      }
    }
  }
  HWY_INLINE hn::Vec<GatheredBytes> blocks(const uint8_t* row, int64_t block) const {
    hn::Vec<GatheredBytes> bytes[1];
    blocks(&row, block, bytes);
    return bytes[0];
  }

 private:
  const int32_t* starts_;
  const uint8_t* lookup_;
  int64_t blocks_;
  int64_t windows_;
  int64_t ahead_;
};

#endif

}  // namespace kel::imgproc::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#endif
