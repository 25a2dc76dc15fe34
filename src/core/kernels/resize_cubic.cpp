#include "core/kernels/vector_targets.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "core/kernels/resize_cubic.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

#include <array>
#include <cstring>

#include "core/kernels/byte_gather-inl.h"
#include "core/kernels/resize_cubic.h"
#include "core/kernels/round_to_bytes-inl.h"

HWY_BEFORE_NAMESPACE();
namespace kel::imgproc::HWY_NAMESPACE {

#if HWY_TARGET == HWY_SCALAR || HWY_TARGET == HWY_EMU128  // no vectors

void cubic_across(const RowsAcross<float>& rows, const CubicColumns& columns) {
  cubic_across_plain(rows, columns);
}

void cubic_down(uint8_t* dst, const CubicRows& rows, const CubicWeights& weights, int64_t in_floats,
                int64_t count) {
  cubic_down_plain(dst, rows, weights, in_floats, count);
}

#else

// Bytes 0 and 2 of a quad are its even 16-bit parts, 1 and 3 the odd ones.
template <int kWindows, int kRows>
void across(const RowsAcross<float>& rows, const CubicColumns& columns) {
  const Floats df;
  const hn::RebindToSigned<Floats> d32;
  const hn::Repartition<int16_t, Floats> d16;
  const hn::Repartition<uint16_t, Floats> du16;
  const auto low = hn::Set(du16, uint16_t{0xFF});
  const Gatherer<kWindows> gatherer(columns.quads, rows.ahead);
  const std::array<const uint8_t*, 2> from = rows.from;
  const std::array<float*, 2> to = rows.to;
  const int16_t* even_column = columns.even.data();
  const int16_t* odd_column = columns.odd.data();
  const int64_t blocks = columns.quads.blocks;
  for (int64_t block = 0; block < blocks; block += kGatheredBlocks) {
    hn::Vec<GatheredBytes> bytes[kRows];
    gatherer.blocks(from.data(), block, bytes);
    const auto even_weights = hn::LoadU(d16, even_column + 8 * block);
    const auto odd_weights = hn::LoadU(d16, odd_column + 8 * block);
    HWY_UNROLL(2)
    for (size_t row = 0; row < kRows; ++row) {
      const auto quads = hn::BitCast(du16, bytes[row]);
      const auto even = hn::BitCast(d16, hn::And(quads, low));
      const auto odd = hn::BitCast(d16, hn::ShiftRight<8>(quads));
      auto more = hn::Zero(d32);
      auto sum = hn::ReorderWidenMulAccumulate(d32, even, even_weights, hn::Zero(d32), more);
      sum = hn::ReorderWidenMulAccumulate(d32, odd, odd_weights, sum, more);
      const auto whole = hn::RearrangeToOddPlusEven(sum, more);
      hn::StoreU(hn::ConvertTo(df, whole), df, to[row] + 4 * block);
    }
  }
}

template <int kRows>
void across_rows(const RowsAcross<float>& rows, const CubicColumns& columns) {
  switch (columns.quads.windows) {
    case 1:
      return across<1, kRows>(rows, columns);
    case 2:
      return across<2, kRows>(rows, columns);
    default:
      return across<0, kRows>(rows, columns);
  }
}

void cubic_across(const RowsAcross<float>& rows, const CubicColumns& columns) {
  rows.count == 2 ? across_rows<2>(rows, columns) : across_rows<1>(rows, columns);
}

void cubic_down(uint8_t* dst, const CubicRows& rows, const CubicWeights& weights, int64_t in_floats,
                int64_t count) {
  const Floats d;
  const auto factor = [&](size_t i) {
    return hn::Set(d, static_cast<float>(weights[i]) * (1.0F / (1 << 22)));
  };
  const auto factor0 = factor(0);
  const auto factor1 = factor(1);
  const auto factor2 = factor(2);
  const auto factor3 = factor(3);
  const auto blend = [&](int64_t x) {
    auto sum = hn::Mul(hn::LoadU(d, rows[3] + x), factor3);
    sum = hn::Add(hn::Mul(hn::LoadU(d, rows[2] + x), factor2), sum);
    sum = hn::Add(hn::Mul(hn::LoadU(d, rows[1] + x), factor1), sum);
    return hn::Add(hn::Mul(hn::LoadU(d, rows[0] + x), factor0), sum);
  };
  round_to_bytes(dst, in_floats, blend);
  const CubicRows rest{rows[0] + in_floats, rows[1] + in_floats, rows[2] + in_floats,
                       rows[3] + in_floats};
  cubic_down_plain(dst + in_floats, rest, weights, 0, count - in_floats);
}

#endif

}  // namespace kel::imgproc::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace kel::imgproc {

HWY_EXPORT(cubic_across);
HWY_EXPORT(cubic_down);

void cubic_across(const RowsAcross<float>& rows, const CubicColumns& columns) {
  HWY_DYNAMIC_DISPATCH(cubic_across)(rows, columns);
}

void cubic_down(uint8_t* dst, const CubicRows& rows, const CubicWeights& weights, int64_t in_floats,
                int64_t count) {
  HWY_DYNAMIC_DISPATCH(cubic_down)(dst, rows, weights, in_floats, count);
}

}  // namespace kel::imgproc
#endif
