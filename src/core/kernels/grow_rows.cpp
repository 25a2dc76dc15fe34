#include "core/kernels/vector_targets.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "core/kernels/grow_rows.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

#include "core/kernels/grow_rows.h"

HWY_BEFORE_NAMESPACE();
namespace kel::imageprocess::HWY_NAMESPACE {

#if HWY_TARGET == HWY_SCALAR || HWY_TARGET == HWY_EMU128  // no vectors

void grow_rows(uint64_t* to, const uint64_t* from, const WordRows& rows, const uint64_t* const* a,
               const uint64_t* const* b) {
  grow_rows_plain(to, from, rows, a, b);
}

#else

namespace hn = hwy::HWY_NAMESPACE;

// Rows are short: four words are 256 pixels. The last vector overlaps the one before.
void grow_rows(uint64_t* to, const uint64_t* from, const WordRows& rows, const uint64_t* const* a,
               const uint64_t* const* b) {
  constexpr int kLastBit = 63;
  const hn::CappedTag<uint64_t, 4> d;
  constexpr auto kLanes = static_cast<int64_t>(hn::MaxLanes(d));
  if (rows.end - rows.begin < kLanes) return grow_rows_plain(to, from, rows, a, b);
  for (int64_t y = 0; y < rows.count; ++y, to += rows.stride, from += rows.stride) {
    const auto grow = [&](int64_t i) {
      const auto here = hn::LoadU(d, from + i);
      const auto behind = hn::ShiftLeft<kLastBit>(hn::LoadU(d, from + i + 1));
      const auto before = hn::ShiftRight<kLastBit>(hn::LoadU(d, from + i - 1));
      const auto to_left = hn::Or(hn::ShiftRight<1>(here), behind);
      const auto to_right = hn::Or(hn::ShiftLeft<1>(here), before);
      const auto others = hn::Or(hn::LoadU(d, a[y] + i), hn::LoadU(d, b[y] + i));
      hn::StoreU(hn::Or(hn::Or(here, others), hn::Or(to_left, to_right)), d, to + i);
    };
    int64_t i = rows.begin;
    for (; i + kLanes <= rows.end; i += kLanes) grow(i);
    if (i < rows.end) grow(rows.end - kLanes);
  }
}

#endif

}  // namespace kel::imageprocess::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace kel::imageprocess {

HWY_EXPORT(grow_rows);

void grow_rows(uint64_t* to, const uint64_t* from, const WordRows& rows, const uint64_t* const* a,
               const uint64_t* const* b) {
  HWY_DYNAMIC_DISPATCH(grow_rows)(to, from, rows, a, b);
}

}  // namespace kel::imageprocess
#endif
