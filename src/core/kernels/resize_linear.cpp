#include "core/kernels/vector_targets.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "core/kernels/resize_linear.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

#include <cstring>

#include "core/kernels/byte_gather-inl.h"
#include "core/kernels/resize_linear.h"

HWY_BEFORE_NAMESPACE();
namespace kel::imgproc::HWY_NAMESPACE {

#if HWY_TARGET == HWY_SCALAR || HWY_TARGET == HWY_EMU128  // no vectors

void linear_across(int16_t* out, const uint8_t* row, const LinearColumns& columns) {
  linear_across_plain(out, row, columns);
}

void linear_down(uint8_t* dst, const int16_t* upper, const int16_t* lower, int16_t upper_weight,
                 int16_t lower_weight, int64_t count) {
  linear_down_plain(dst, upper, lower, upper_weight, lower_weight, count);
}

#else

using D16 = hn::Repartition<int16_t, GatheredBytes>;
using DU16 = hn::RebindToUnsigned<D16>;
using D8 = hn::Rebind<uint8_t, D16>;
constexpr auto kStep = static_cast<int64_t>(hn::MaxLanes(D16()));

// near * 2048 + (near - far) * -weight, without the four lowest bits, in 16 bits.
template <int kWindows>
void across(int16_t* out, const uint8_t* row, const LinearColumns& columns) {
  const D16 d;
  const DU16 du;
  const int16_t* weights = columns.weights.data();
  for (int64_t block = 0; block < columns.pairs.blocks; block += kGatheredBlocks) {
    const auto pairs = hn::BitCast(du, gather_blocks<kWindows>(row, columns.pairs, block));
    const auto near = hn::ShiftRight<1>(hn::ShiftLeft<8>(pairs));  // times 128
    const auto far = hn::ShiftLeft<7>(hn::ShiftRight<8>(pairs));
    const auto weight = hn::LoadU(d, weights + 8 * block);
    const auto step = hn::MulHigh(hn::BitCast(d, hn::Sub(near, far)), weight);
    hn::StoreU(hn::Add(hn::BitCast(d, near), step), d, out + 8 * block);
  }
}

void linear_across(int16_t* out, const uint8_t* row, const LinearColumns& columns) {
  switch (columns.pairs.windows) {
    case 1:
      return across<1>(out, row, columns);
    case 2:
      return across<2>(out, row, columns);
    default:
      return across<0>(out, row, columns);
  }
}

void linear_down(uint8_t* dst, const int16_t* upper, const int16_t* lower, int16_t upper_weight,
                 int16_t lower_weight, int64_t count) {
  const D16 d;
  const D8 d8;
  const auto upper_factor = hn::Set(d, upper_weight);
  const auto lower_factor = hn::Set(d, lower_weight);
  const auto two = hn::Set(d, int16_t{2});
  const auto blend = [&](int64_t x) {
    const auto high = hn::MulHigh(hn::LoadU(d, upper + x), upper_factor);
    const auto low = hn::MulHigh(hn::LoadU(d, lower + x), lower_factor);
    return hn::DemoteTo(d8, hn::ShiftRight<2>(hn::Add(hn::Add(high, low), two)));
  };
  int64_t x = 0;
  for (; x + kStep <= count; x += kStep) hn::StoreU(blend(x), d8, dst + x);
  if (x == count) return;
  alignas(32) uint8_t last[kStep];
  hn::Store(blend(x), d8, last);
  std::memcpy(dst + x, last, static_cast<size_t>(count - x));
}

#endif

}  // namespace kel::imgproc::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace kel::imgproc {

HWY_EXPORT(linear_across);
HWY_EXPORT(linear_down);

void linear_across(int16_t* out, const uint8_t* row, const LinearColumns& columns) {
  HWY_DYNAMIC_DISPATCH(linear_across)(out, row, columns);
}

void linear_down(uint8_t* dst, const int16_t* upper, const int16_t* lower, int16_t upper_weight,
                 int16_t lower_weight, int64_t count) {
  HWY_DYNAMIC_DISPATCH(linear_down)(dst, upper, lower, upper_weight, lower_weight, count);
}

}  // namespace kel::imgproc
#endif
