#include "core/vector_targets.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "core/colour_from_gray_row.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

#include "core/gray_rows.h"

HWY_BEFORE_NAMESPACE();
namespace kel::imageprocess::HWY_NAMESPACE {

#if HWY_TARGET == HWY_SCALAR || HWY_TARGET == HWY_EMU128  // no vectors

void colour_from_gray_row(uint8_t* dst, const uint8_t* src, int64_t count, int bytes_per_pixel) {
  colour_from_gray_row_plain(dst, src, count, bytes_per_pixel);
}

#else

namespace hn = hwy::HWY_NAMESPACE;

using D = hn::CappedTag<uint8_t, 32>;
using V = hn::Vec<D>;

// For each byte that two blocks of 16 gray pixels become, the pixel within its block.
template <int kBytes>
struct Spread {
  alignas(32) uint8_t pixel[32 * kBytes];
  constexpr Spread() : pixel() {
    for (int i = 0; i < 32 * kBytes; ++i) pixel[i] = static_cast<uint8_t>(i / kBytes % 16);
  }
};

// The gray pixels that the kVectorIndex-th vector of colour comes from, block by block.
template <typename Vector, int kBytes, int kVectorIndex>
HWY_INLINE Vector load_sources(const uint8_t* src) {
  const hn::CappedTag<hn::TFromV<Vector>, 16> d16;
  if constexpr (sizeof(Vector) == 16) {
    return hn::LoadU(d16, src);
  } else {
    const auto first = hn::LoadU(d16, src + 2 * kVectorIndex / kBytes * 16);
    const auto second = hn::LoadU(d16, src + (2 * kVectorIndex + 1) / kBytes * 16);
    return hn::Combine(hn::DFromV<Vector>(), second, first);
  }
}

template <int kBytes, int kVectorIndex = 0>
HWY_INLINE void store_colour(uint8_t* dst, const uint8_t* src, V alpha) {
  static constexpr Spread<kBytes> kSpread;
  const D d;
  constexpr size_t kAt = kVectorIndex * hn::MaxLanes(D());
  V colour = hn::TableLookupBytes(load_sources<V, kBytes, kVectorIndex>(src),
                                  hn::LoadU(d, kSpread.pixel + kAt));
  if constexpr (kBytes == 4) colour = hn::Or(colour, alpha);
  hn::StoreU(colour, d, dst + kAt);
  if constexpr (kVectorIndex + 1 < kBytes) store_colour<kBytes, kVectorIndex + 1>(dst, src, alpha);
}

template <int kBytes>
void colour_from_gray(uint8_t* dst, const uint8_t* src, int64_t count) {
  constexpr auto kStep = static_cast<int64_t>(hn::MaxLanes(D()));
  if (count < kStep) return colour_from_gray_row_plain(dst, src, count, kBytes);
  const V alpha = hn::BitCast(D(), hn::Set(hn::Repartition<uint32_t, D>(), 0xFF000000));
  for (int64_t x = 0; x < count; x += kStep) {
    const int64_t at = HWY_MIN(x, count - kStep);  // the last vectors end with the row
    store_colour<kBytes>(dst + at * kBytes, src + at, alpha);
  }
}

void colour_from_gray_row(uint8_t* dst, const uint8_t* src, int64_t count, int bytes_per_pixel) {
  bytes_per_pixel == 3 ? colour_from_gray<3>(dst, src, count)
                       : colour_from_gray<4>(dst, src, count);
}

#endif

}  // namespace kel::imageprocess::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace kel::imageprocess {

HWY_EXPORT(colour_from_gray_row);

void colour_from_gray_row(uint8_t* dst, const uint8_t* src, int64_t count, int bytes_per_pixel) {
  HWY_DYNAMIC_DISPATCH(colour_from_gray_row)(dst, src, count, bytes_per_pixel);
}

}  // namespace kel::imageprocess
#endif
