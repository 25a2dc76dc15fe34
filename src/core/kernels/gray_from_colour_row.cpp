#include "core/kernels/vector_targets.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "core/kernels/gray_from_colour_row.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

#include "core/kernels/gray_from_colour_row.h"
#include "core/kernels/prefetch.h"

HWY_BEFORE_NAMESPACE();
namespace kel::imageprocess::HWY_NAMESPACE {

#if HWY_TARGET == HWY_SCALAR || HWY_TARGET == HWY_EMU128  // no vectors

void gray_from_colour_row(uint8_t* dst, const uint8_t* src, int64_t count, int bytes_per_pixel) {
  gray_from_colour_row_plain(dst, src, count, bytes_per_pixel);
}

#else

namespace hn = hwy::HWY_NAMESPACE;

using D = hn::CappedTag<uint8_t, 32>;
using V = hn::Vec<D>;
using D16 = hn::Repartition<uint16_t, D>;

// Exact for sums of three bytes: sum * 0xAAAB >> 17 is sum / 3.
HWY_INLINE hn::Vec<D16> divide_by_3(hn::Vec<D16> sum) {
  return hn::ShiftRight<1>(hn::MulHigh(sum, hn::Set(D16(), 0xAAAB)));
}

// Even and odd pixels apart, so that sums have 16 bits and no byte changes its place.
HWY_INLINE V mean(V a, V b, V c) {
  const D d;
  const D16 d16;
  const auto low = hn::Set(d16, 0xFF);
  const auto even = [&](V v) { return hn::And(hn::BitCast(d16, v), low); };
  const auto odd = [&](V v) { return hn::ShiftRight<8>(hn::BitCast(d16, v)); };
  const auto of_even = divide_by_3(hn::Add(hn::Add(even(a), even(b)), even(c)));
  const auto of_odd = divide_by_3(hn::Add(hn::Add(odd(a), odd(b)), odd(c)));
  return hn::BitCast(d, hn::Or(of_even, hn::ShiftLeft<8>(of_odd)));
}

template <int kBytes>
HWY_INLINE V mean_at(const uint8_t* src) {
  const D d;
  V a;
  V b;
  V c;
  if constexpr (kBytes == 3) {
    hn::LoadInterleaved3(d, src, a, b, c);
  } else {
    V alpha;
    hn::LoadInterleaved4(d, src, a, b, c, alpha);
  }
  return mean(a, b, c);
}

template <int kBytes>
void gray_from_colour(uint8_t* dst, const uint8_t* src, int64_t count) {
  const D d;
  constexpr auto kStep = static_cast<int64_t>(hn::MaxLanes(D()));
  if (count < kStep) return gray_from_colour_row_plain(dst, src, count, kBytes);
  for (int64_t x = 0; x < count; x += kStep) {
    const int64_t at = HWY_MIN(x, count - kStep);  // the last vector ends with the row
    prefetch_ahead(src + at * kBytes, kStep * kBytes);
    prefetch_ahead(dst + at, kStep);
    hn::StoreU(mean_at<kBytes>(src + at * kBytes), d, dst + at);
  }
}

void gray_from_colour_row(uint8_t* dst, const uint8_t* src, int64_t count, int bytes_per_pixel) {
  bytes_per_pixel == 3 ? gray_from_colour<3>(dst, src, count)
                       : gray_from_colour<4>(dst, src, count);
}

#endif

}  // namespace kel::imageprocess::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace kel::imageprocess {

HWY_EXPORT(gray_from_colour_row);

void gray_from_colour_row(uint8_t* dst, const uint8_t* src, int64_t count, int bytes_per_pixel) {
  HWY_DYNAMIC_DISPATCH(gray_from_colour_row)(dst, src, count, bytes_per_pixel);
}

}  // namespace kel::imageprocess
#endif
