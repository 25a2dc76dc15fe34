#include "core/kernels/vector_targets.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "core/kernels/alpha.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

#include "core/kernels/alpha.h"
#include "core/kernels/prefetch.h"
#include "core/kernels/three_bytes-inl.h"

HWY_BEFORE_NAMESPACE();
namespace kel::imageprocess::HWY_NAMESPACE {

#if HWY_TARGET == HWY_SCALAR || HWY_TARGET == HWY_EMU128  // no vectors

void argb_from_rgb24_row(uint8_t* dst, const uint8_t* src, int64_t count) {
  argb_from_rgb24_row_plain(dst, src, count);
}
void rgb24_from_argb_row(uint8_t* dst, const uint8_t* src, int64_t count) {
  rgb24_from_argb_row_plain(dst, src, count);
}

#else

namespace hn = hwy::HWY_NAMESPACE;

alignas(16) constexpr uint8_t kSpread[16] = {0, 1, 2, 0, 3, 4, 5, 0, 6, 7, 8, 0, 9, 10, 11, 0};
alignas(16) constexpr uint8_t kPack[16] = {0, 1, 2, 4, 5, 6, 8, 9, 10, 12, 13, 14, 0, 0, 0, 0};

HWY_INLINE void spread(uint8_t* dst, const uint8_t* src) {
  const Bytes d;
  const ByteVector alpha = hn::BitCast(d, hn::Set(hn::Repartition<uint32_t, Bytes>(), 0xFF000000));
  HWY_UNROLL(4)
  for (int i = 0; i < 4; ++i) {
    const ByteVector pixels = load_three_bytes(src, i, hn::LoadDup128(d, kSpread));
    hn::StoreU(hn::Or(pixels, alpha), d, dst + kByteLanes * i);
  }
}

// What the first three vectors write too much, the next one overwrites; the last one is written in
// parts that end with the pixels.
HWY_INLINE void pack(uint8_t* dst, const uint8_t* src) {
  const Bytes d;
  const hn::Half<Bytes> half;
  const hn::Half<decltype(half)> fourth;
  HWY_UNROLL(4)
  for (int i = 0; i < 4; ++i) {
    const ByteVector v = hn::LoadU(d, src + kByteLanes * i);
    const ByteVector packed =
        permute_32(hn::TableLookupBytes(v, hn::LoadDup128(d, kPack)), kFromTwelves);
    uint8_t* const to = dst + kByteLanes / 4 * 3 * i;
    if (i < 3) {
      hn::StoreU(packed, d, to);
    } else {
      hn::StoreU(hn::LowerHalf(half, packed), half, to);
      hn::StoreU(hn::LowerHalf(fourth, hn::UpperHalf(half, packed)), fourth, to + kByteLanes / 2);
    }
  }
}

void argb_from_rgb24_row(uint8_t* dst, const uint8_t* src, int64_t count) {
  if (count < kByteLanes) return argb_from_rgb24_row_plain(dst, src, count);
  for (int64_t x = 0; x < count; x += kByteLanes) {
    const int64_t at = HWY_MIN(x, count - kByteLanes);  // the last step ends with the row
    prefetch_ahead(dst + 4 * at, 4 * kByteLanes);
    spread(dst + 4 * at, src + 3 * at);
  }
}

void rgb24_from_argb_row(uint8_t* dst, const uint8_t* src, int64_t count) {
  if (count < kByteLanes) return rgb24_from_argb_row_plain(dst, src, count);
  for (int64_t x = 0; x < count; x += kByteLanes) {
    const int64_t at = HWY_MIN(x, count - kByteLanes);
    prefetch_ahead(dst + 3 * at, 3 * kByteLanes);
    pack(dst + 3 * at, src + 4 * at);
  }
}

#endif

}  // namespace kel::imageprocess::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace kel::imageprocess {

HWY_EXPORT(argb_from_rgb24_row);
HWY_EXPORT(rgb24_from_argb_row);

void argb_from_rgb24_row(uint8_t* dst, const uint8_t* src, int64_t count) {
  HWY_DYNAMIC_DISPATCH(argb_from_rgb24_row)(dst, src, count);
}
void rgb24_from_argb_row(uint8_t* dst, const uint8_t* src, int64_t count) {
  HWY_DYNAMIC_DISPATCH(rgb24_from_argb_row)(dst, src, count);
}

}  // namespace kel::imageprocess
#endif
