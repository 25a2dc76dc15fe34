#include "core/kernels/vector_targets.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "core/kernels/resize_linear.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

#include <array>
#include <cstring>

#include "core/kernels/byte_gather-inl.h"
#include "core/kernels/resize_linear.h"

HWY_BEFORE_NAMESPACE();
namespace kel::imgproc::HWY_NAMESPACE {

#if HWY_TARGET == HWY_SCALAR || HWY_TARGET == HWY_EMU128  // no vectors

void linear_across(const RowsAcross<int16_t>& rows, const LinearColumns& columns) {
  linear_across_plain(rows, columns);
}

void linear_down(uint8_t* dst, const LinearRows& rows, int64_t count) {
  linear_down_plain(dst, rows, count);
}

#else

using D16 = hn::Repartition<int16_t, GatheredBytes>;
using DU16 = hn::RebindToUnsigned<D16>;
using D8 = hn::Rebind<uint8_t, D16>;
constexpr auto kStep = static_cast<int64_t>(hn::MaxLanes(D16()));

// near * 2048 + (near - far) * -weight, without the four lowest bits, in 16 bits.
template <int kWindows, int kRows>
void across(const RowsAcross<int16_t>& rows, const LinearColumns& columns) {
  const D16 d;
  const DU16 du;
  const std::array<const uint8_t*, 2> from = rows.from;
  const std::array<int16_t*, 2> to = rows.to;
  const int16_t* weights = columns.weights.data();
  const auto make = [&](const auto& gatherer, int64_t block) HWY_ATTR {
    hn::Vec<GatheredBytes> bytes[kRows];
    gatherer.blocks(from.data(), block, bytes);
    const auto weight = hn::LoadU(d, weights + 8 * block);
    HWY_UNROLL(2)
    for (size_t row = 0; row < kRows; ++row) {
      const auto pairs = hn::BitCast(du, bytes[row]);
      const auto near = hn::ShiftRight<1>(hn::ShiftLeft<8>(pairs));  // times 128
      const auto far = hn::ShiftLeft<7>(hn::ShiftRight<8>(pairs));
      const auto step = hn::MulHigh(hn::BitCast(d, hn::Sub(near, far)), weight);
      hn::StoreU(hn::Add(hn::BitCast(d, near), step), d, to[row] + 8 * block);
    }
  };
  const Gatherer<kWindows> usual(columns.pairs, rows.ahead);
  const int64_t blocks = columns.pairs.blocks;
  for (int64_t block = 0; block < blocks; block += kGatheredBlocks) make(usual, block);
  const Gatherer<0> all(columns.pairs, rows.ahead);
  for (const int64_t pair : columns.pairs.unusual) {
    for (int64_t block = pair; block < pair + 2; block += kGatheredBlocks) make(all, block);
  }
}

template <int kRows>
void across_rows(const RowsAcross<int16_t>& rows, const LinearColumns& columns) {
  switch (columns.pairs.usual_windows) {
    case 1:
      return across<1, kRows>(rows, columns);
    case 2:
      return across<2, kRows>(rows, columns);
    default:
      return across<0, kRows>(rows, columns);
  }
}

void linear_across(const RowsAcross<int16_t>& rows, const LinearColumns& columns) {
  rows.count == 2 ? across_rows<2>(rows, columns) : across_rows<1>(rows, columns);
}

void linear_down(uint8_t* dst, const LinearRows& rows, int64_t count) {
  const D16 d;
  const D8 d8;
  const auto upper_weight = hn::Set(d, rows.upper_weight);
  const auto lower_weight = hn::Set(d, rows.lower_weight);
  const int16_t* upper = rows.upper;
  const int16_t* lower = rows.lower;
  const auto bytes = [&](int64_t x) HWY_ATTR {
    const auto high = hn::MulHigh(hn::LoadU(d, upper + x), upper_weight);
    const auto low = hn::MulHigh(hn::LoadU(d, lower + x), lower_weight);
    const auto sum = hn::Add(hn::Add(high, low), hn::Set(d, int16_t{2}));
    return hn::DemoteTo(d8, hn::ShiftRight<2>(sum));
  };
  int64_t x = 0;
  for (; x + kStep <= count; x += kStep) {
    prefetch_ahead(dst + x, kStep);
    hn::StoreU(bytes(x), d8, dst + x);
  }
  if (x == count) return;
  alignas(32) uint8_t last[kStep];
  hn::Store(bytes(x), d8, last);
  std::memcpy(dst + x, last, static_cast<size_t>(count - x));
}

#endif

}  // namespace kel::imgproc::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace kel::imgproc {

HWY_EXPORT(linear_across);
HWY_EXPORT(linear_down);

void linear_across(const RowsAcross<int16_t>& rows, const LinearColumns& columns) {
  HWY_DYNAMIC_DISPATCH(linear_across)(rows, columns);
}

void linear_down(uint8_t* dst, const LinearRows& rows, int64_t count) {
  HWY_DYNAMIC_DISPATCH(linear_down)(dst, rows, count);
}

}  // namespace kel::imgproc
#endif
