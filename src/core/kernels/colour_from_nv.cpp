#include "core/kernels/vector_targets.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "core/kernels/colour_from_nv.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

#include "core/kernels/colour_from_nv.h"
#include "core/kernels/prefetch.h"

HWY_BEFORE_NAMESPACE();
namespace kel::imageprocess::HWY_NAMESPACE {

#if HWY_TARGET == HWY_SCALAR || HWY_TARGET == HWY_EMU128  // no vectors

void colour_from_nv(uint8_t* const colour[2], const uint8_t* const y[2], const uint8_t* chroma,
                    int64_t width, const ColourOrder& order) {
  colour_from_nv_plain(colour, y, chroma, width, order);
}

#else

namespace hn = hwy::HWY_NAMESPACE;

using D = hn::ScalableTag<uint8_t>;
using V = hn::Vec<D>;
using D16 = hn::Repartition<uint16_t, D>;
using DI16 = hn::Repartition<int16_t, D>;
using VI16 = hn::Vec<DI16>;
constexpr auto kLanes = static_cast<int64_t>(hn::MaxLanes(D()));

// Everything stays in the 16-byte blocks, so the four vectors that pixels of 4 bytes fill need one
// fourth of every block each: their 32-bit lanes, by the number of blocks.
alignas(64) constexpr uint32_t kFourths[3][16] = {
    {0, 1, 2, 3}, {0, 2, 4, 6, 1, 3, 5, 7}, {0, 4, 8, 12, 1, 5, 9, 13, 2, 6, 10, 14, 3, 7, 11, 15}};

template <int kBytes>
HWY_INLINE V load(const uint8_t* src) {
  const V v = hn::LoadU(D(), src);
  if constexpr (kBytes == 3 || kLanes == 16) {
    return v;
  } else {
    const hn::Repartition<uint32_t, D> d32;
    const auto lanes = hn::SetTableIndices(d32, kFourths[kLanes / 32]);
    return hn::BitCast(D(), hn::TableLookupLanes(hn::BitCast(d32, v), lanes));
  }
}

// What the chroma adds to each byte of the pixels in the lower and upper halves of the blocks.
using Added = VI16[3];

HWY_INLINE void weigh_chroma(V pairs, const ColourOrder& order, Added& lower, Added& upper) {
  const DI16 d;
  const D16 d16;
  const auto all = [&](int value) { return hn::Set(d, static_cast<int16_t>(value)); };
  const auto both = hn::BitCast(d16, pairs);
  const VI16 first = hn::Sub(hn::BitCast(d, hn::And(both, hn::Set(d16, 0xFF))), all(128));
  const VI16 second = hn::Sub(hn::BitCast(d, hn::ShiftRight<8>(both)), all(128));
  const VI16 u = order.v_first ? second : first;
  const VI16 v = order.v_first ? first : second;
  const VI16 offset = all(-1160);  // 16 off Y, and half a bit
  const VI16 blue = hn::Add(hn::ShiftLeft<7>(u), offset);
  const VI16 green = hn::Sub(offset, hn::Add(hn::Mul(u, all(25)), hn::Mul(v, all(52))));
  const VI16 red = hn::Add(hn::Mul(v, all(102)), offset);
  const VI16 parts[3] = {order.red_first ? red : blue, green, order.red_first ? blue : red};
  HWY_UNROLL(3)
  for (int i = 0; i < 3; ++i) {
    lower[i] = hn::InterleaveLower(d, parts[i], parts[i]);
    upper[i] = hn::InterleaveUpper(d, parts[i], parts[i]);
  }
}

// Saturated bytes of each block of both in turn.
HWY_INLINE V narrow(VI16 lower, VI16 upper) {
#if HWY_TARGET <= HWY_AVX3  // the numbers of better instruction sets are smaller
  return V{_mm512_packus_epi16(lower.raw, upper.raw)};
#elif HWY_TARGET <= HWY_AVX2
  return V{_mm256_packus_epi16(lower.raw, upper.raw)};
#else
  const hn::Half<D> half;
  return hn::Combine(D(), hn::DemoteTo(half, upper), hn::DemoteTo(half, lower));
#endif
}

HWY_INLINE void store(const V (&bytes)[3], uint8_t* dst, hwy::SizeTag<3> /*bytes per pixel*/) {
  hn::StoreInterleaved3(bytes[0], bytes[1], bytes[2], D(), dst);
}

HWY_INLINE void store(const V (&bytes)[3], uint8_t* dst, hwy::SizeTag<4> /*bytes per pixel*/) {
  const D d;
  const D16 d16;
  const V alpha = hn::Set(d, 255);
  const auto lower = [&](V a, V b) { return hn::BitCast(d16, hn::InterleaveLower(d, a, b)); };
  const auto upper = [&](V a, V b) { return hn::BitCast(d16, hn::InterleaveUpper(d, a, b)); };
  const auto store_two = [&](auto first, auto second, uint8_t* to) {
    hn::StoreU(hn::BitCast(d, hn::InterleaveLower(d16, first, second)), d, to);
    hn::StoreU(hn::BitCast(d, hn::InterleaveUpper(d16, first, second)), d, to + kLanes);
  };
  store_two(lower(bytes[0], bytes[1]), lower(bytes[2], alpha), dst);
  store_two(upper(bytes[0], bytes[1]), upper(bytes[2], alpha), dst + 2 * kLanes);
}

// Sums that pass 16 bits saturate and are white all the same.
template <int kBytes>
HWY_INLINE void convert_row(uint8_t* dst, const uint8_t* src, const Added& added_lower,
                            const Added& added_upper) {
  const D d;
  const DI16 di16;
  prefetch_ahead(dst, kLanes * kBytes);
  const V y = load<kBytes>(src);
  const auto luma = [&](V twice) {
    return hn::BitCast(di16, hn::MulHigh(hn::BitCast(D16(), twice), hn::Set(D16(), 18997)));
  };
  const VI16 lower = luma(hn::InterleaveLower(d, y, y));
  const VI16 upper = luma(hn::InterleaveUpper(d, y, y));
  V bytes[3];
  HWY_UNROLL(3)
  for (int i = 0; i < 3; ++i) {
    bytes[i] = narrow(hn::ShiftRight<6>(hn::SaturatedAdd(lower, added_lower[i])),
                      hn::ShiftRight<6>(hn::SaturatedAdd(upper, added_upper[i])));
  }
  store(bytes, dst, hwy::SizeTag<kBytes>());
}

template <int kBytes>
void convert(uint8_t* const colour[2], const uint8_t* const y[2], const uint8_t* chroma,
             int64_t width, const ColourOrder& order) {
  for (int64_t x = 0; x < width; x += kLanes) {
    const int64_t at = HWY_MIN(x, width - kLanes);  // the last vector ends with the row
    Added lower;
    Added upper;
    weigh_chroma(load<kBytes>(chroma + at), order, lower, upper);
    convert_row<kBytes>(colour[0] + at * kBytes, y[0] + at, lower, upper);
    if (colour[1] != colour[0]) {
      convert_row<kBytes>(colour[1] + at * kBytes, y[1] + at, lower, upper);
    }
  }
}

void colour_from_nv(uint8_t* const colour[2], const uint8_t* const y[2], const uint8_t* chroma,
                    int64_t width, const ColourOrder& order) {
  const int64_t done = width < kLanes ? 0 : width & ~int64_t{1};
  const int64_t bytes = done * order.bytes_per_pixel;
  if (done > 0) {
    order.bytes_per_pixel == 3 ? convert<3>(colour, y, chroma, done, order)
                               : convert<4>(colour, y, chroma, done, order);
  }
  if (done == width) return;
  uint8_t* const rest[2] = {colour[0] + bytes, colour[1] + bytes};
  const uint8_t* const from[2] = {y[0] + done, y[1] + done};
  colour_from_nv_plain(rest, from, chroma + done, width - done, order);
}

#endif

}  // namespace kel::imageprocess::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace kel::imageprocess {

HWY_EXPORT(colour_from_nv);

void colour_from_nv(uint8_t* const colour[2], const uint8_t* const y[2], const uint8_t* chroma,
                    int64_t width, const ColourOrder& order) {
  HWY_DYNAMIC_DISPATCH(colour_from_nv)(colour, y, chroma, width, order);
}

}  // namespace kel::imageprocess
#endif
