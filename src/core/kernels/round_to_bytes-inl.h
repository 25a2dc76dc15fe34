// Included once for each instruction set, by the kernels that end with single precision.
#if defined(KEL_ROUND_TO_BYTES_INL) == defined(HWY_TARGET_TOGGLE)
#ifdef KEL_ROUND_TO_BYTES_INL
#undef KEL_ROUND_TO_BYTES_INL
#else
#define KEL_ROUND_TO_BYTES_INL
#endif

#include <hwy/highway.h>

#include <cstdint>
#include <cstring>

#include "core/kernels/byte_gather-inl.h"

HWY_BEFORE_NAMESPACE();
namespace kel::imgproc::HWY_NAMESPACE {

#if HWY_TARGET != HWY_SCALAR && HWY_TARGET != HWY_EMU128

namespace hn = hwy::HWY_NAMESPACE;

using Floats = hn::CappedTag<float, 8>;

// Whole numbers nearest to values far below 2^22; halves become even. Adding 1.5 * 2^23 leaves a
// float no bits for a fraction.
HWY_INLINE hn::Vec<hn::RebindToSigned<Floats> > round_to_int(hn::Vec<Floats> value) {
  const Floats d;
  const hn::RebindToSigned<Floats> d32;
  const auto shifted = hn::Add(value, hn::Set(d, 12582912.0F));
  return hn::Sub(hn::BitCast(d32, shifted), hn::Set(d32, 0x4B400000));
}

using RoundedBytes = hn::Rebind<uint8_t, hn::Repartition<int16_t, Floats> >;

// Two vectors of values, rounded and saturated.
template <class D = Floats>
HWY_INLINE hn::Vec<RoundedBytes> bytes_of(hn::Vec<D> low, hn::Vec<D> high) {
  const hn::Repartition<int16_t, Floats> d16;
  const RoundedBytes d8;
  const auto words = hn::ReorderDemote2To(d16, round_to_int(low), round_to_int(high));
  const auto bytes = hn::DemoteTo(d8, words);
  if constexpr (hn::MaxLanes(D()) == 4) {
    return bytes;
  } else {  // wide words were packed block by block: low, high, low, high
    alignas(16) static constexpr uint8_t kOrder[16] = {0, 1, 2, 3, 8,  9,  10, 11,
                                                       4, 5, 6, 7, 12, 13, 14, 15};
    return hn::TableLookupBytes(bytes, hn::Load(d8, kOrder));
  }
}

// dst[x] = value(x) rounded to nearest, for count elements; value gives the Floats from x on, also
// for the last few x of which not all are wanted.
template <typename Value>
HWY_INLINE void round_to_bytes(uint8_t* dst, int64_t count, Value value) {
  const RoundedBytes d8;
  constexpr auto kLanes = static_cast<int64_t>(hn::MaxLanes(Floats()));
  constexpr int64_t kStep = 2 * kLanes;
  int64_t x = 0;
  for (; x + kStep <= count; x += kStep) {
    prefetch_ahead(dst + x, kStep);
    hn::StoreU(bytes_of<>(value(x), value(x + kLanes)), d8, dst + x);
  }
  if (x == count) return;
  alignas(16) uint8_t last[kStep];
  hn::Store(bytes_of<>(value(x), value(x + kLanes)), d8, last);
  std::memcpy(dst + x, last, static_cast<size_t>(count - x));
}

#endif

}  // namespace kel::imgproc::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#endif
