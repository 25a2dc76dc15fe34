// Pixels of 3 bytes in vectors with 4 bytes for each. Included once for each instruction set.
#if defined(KEL_THREE_BYTES_INL) == defined(HWY_TARGET_TOGGLE)
#ifdef KEL_THREE_BYTES_INL
#undef KEL_THREE_BYTES_INL
#else
#define KEL_THREE_BYTES_INL
#endif

#include <hwy/highway.h>

HWY_BEFORE_NAMESPACE();
namespace kel::imageprocess::HWY_NAMESPACE {
#if HWY_TARGET != HWY_SCALAR && HWY_TARGET != HWY_EMU128

using Bytes = hwy::HWY_NAMESPACE::ScalableTag<uint8_t>;
using ByteVector = hwy::HWY_NAMESPACE::Vec<Bytes>;
constexpr auto kByteLanes = static_cast<int64_t>(hwy::HWY_NAMESPACE::MaxLanes(Bytes()));

// Lanes of 32 bits that hold three fourths of a vector: twelve bytes for each block of 16, and
// back.
alignas(64) constexpr uint32_t kTwelves[16] = {0, 1, 2, 2, 3, 4, 5, 5, 6, 7, 8, 8, 9, 10, 11, 11};
alignas(64) constexpr uint32_t kFromTwelves[16] = {0,  1,  2,  4,  5,  6,  8,  9,
                                                   10, 12, 13, 14, 15, 15, 15, 15};

// The lanes of 32 bits in another order, from lane `offset` on. Indices beyond the lanes of a
// shorter vector wrap; the lanes they fill are never used.
HWY_INLINE ByteVector permute_32(ByteVector v, const uint32_t* order, uint32_t offset = 0) {
  namespace hn = hwy::HWY_NAMESPACE;
  if (kByteLanes == 16 && offset == 0) return v;  // one block is in order
  const hn::Repartition<uint32_t, Bytes> d32;
  constexpr auto kLastLane = static_cast<uint32_t>(kByteLanes / 4 - 1);
  const auto lanes =
      hn::And(hn::Add(hn::Load(d32, order), hn::Set(d32, offset)), hn::Set(d32, kLastLane));
  return hn::BitCast(Bytes(),
                     hn::TableLookupLanes(hn::BitCast(d32, v), hn::IndicesFromVec(d32, lanes)));
}

// The i-th of four vectors of pixels at src, with bytes of the pixel as `spread` says; nothing
// behind the last pixel is read.
HWY_INLINE ByteVector load_three_bytes(const uint8_t* src, int i, ByteVector spread) {
  namespace hn = hwy::HWY_NAMESPACE;
  constexpr int64_t kAhead = kByteLanes / 4;
  const uint8_t* from = src + 3 * kAhead * i;
  const ByteVector v = i < 3 ? permute_32(hn::LoadU(Bytes(), from), kTwelves)
                             : permute_32(hn::LoadU(Bytes(), from - kAhead), kTwelves, kAhead / 4);
  return hn::TableLookupBytes(v, spread);
}

#endif
}  // namespace kel::imageprocess::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();
#endif
