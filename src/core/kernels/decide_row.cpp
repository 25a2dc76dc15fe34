#include "core/kernels/vector_targets.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "core/kernels/decide_row.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

#include "core/kernels/decide_row.h"

HWY_BEFORE_NAMESPACE();
namespace kel::imageprocess::HWY_NAMESPACE {
namespace {

namespace hn = hwy::HWY_NAMESPACE;

using Words = hn::CappedTag<uint16_t, 32>;
using HalfBytes = hn::Rebind<uint8_t, Words>;

// Moves the counts of a vector of windows, from window x on, to this row.
HWY_INLINE hn::Vec<Words> slide(const WindowCount& count, int64_t x) {
  const Words d;
  const HalfBytes bytes;
  const auto entering = hn::PromoteTo(d, hn::LoadU(bytes, count.entering + x));
  const auto leaving = hn::PromoteTo(d, hn::LoadU(bytes, count.leaving + x));
  const auto sum = hn::Sub(hn::Add(hn::LoadU(d, count.sums + x), entering), leaving);
  hn::StoreU(sum, d, count.sums + x);
  return sum;
}

HWY_INLINE void store_mask(hn::Mask<Words> mask, uint8_t* to) {
  const Words d;
  const auto bytes = hn::ShiftRight<8>(hn::VecFromMask(d, mask));
  const hn::RebindToSigned<Words> narrowing;
  hn::StoreU(hn::DemoteTo(HalfBytes(), hn::BitCast(narrowing, bytes)), HalfBytes(), to);
}

}  // namespace

void decide_row(const RowDecision& row) {
  const Words d;
  const auto step = static_cast<int64_t>(hn::Lanes(d));
  const auto majority = hn::Set(d, row.majority);
  for (int64_t x = 0; x < row.width; x += step) {
    const auto fulls = slide(row.fulls, x);
    const auto is_full = hn::Eq(hn::Max(fulls, majority), fulls);
    store_mask(is_full, row.result + x);
    if (row.zeros.sums == nullptr) continue;
    const auto zeros = slide(row.zeros, x);
    const auto is_zero = hn::Eq(hn::Max(zeros, majority), zeros);
    store_mask(hn::Not(hn::Or(is_full, is_zero)), row.open + x);
  }
}

}  // namespace kel::imageprocess::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace kel::imageprocess {

HWY_EXPORT(decide_row);

void decide_row(const RowDecision& row) { HWY_DYNAMIC_DISPATCH(decide_row)(row); }

}  // namespace kel::imageprocess
#endif
