#include "core/kernels/vector_targets.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "core/kernels/resize_area.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

#include <array>

#include "core/kernels/byte_gather-inl.h"
#include "core/kernels/resize_area.h"
#include "core/kernels/round_to_bytes-inl.h"

HWY_BEFORE_NAMESPACE();
namespace kel::imgproc::HWY_NAMESPACE {

#if HWY_TARGET == HWY_SCALAR || HWY_TARGET == HWY_EMU128  // no vectors

void area_across(const RowsAcross<float>& rows, const AreaColumns& columns) {
  area_across_plain(rows, columns);
}

void area_add(float* sum, const float* row, float weight, bool is_first, int64_t count) {
  area_add_plain(sum, row, weight, is_first, count);
}

void area_finish(uint8_t* dst, const float* sum, int64_t count) {
  area_finish_plain(dst, sum, count);
}

#else

constexpr auto kLanes = static_cast<int64_t>(hn::MaxLanes(Floats()));

// sum + byte 0 of each element times its weight + byte 1 ...
template <int kTaps>
HWY_INLINE hn::Vec<Floats> add_taps(hn::Vec<Floats> sum, hn::Vec<GatheredBytes> bytes,
                                    const float* weights) {
  const Floats d;
  const hn::RebindToUnsigned<Floats> du;
  const hn::RebindToSigned<Floats> d32;
  auto rest = hn::BitCast(du, bytes);
  HWY_UNROLL(4)
  for (int tap = 0; tap < kTaps; ++tap) {
    const auto byte = tap == 3 ? rest : hn::And(rest, hn::Set(du, 0xFF));
    const auto value = hn::ConvertTo(d, hn::BitCast(d32, byte));
    const auto weight = hn::LoadU(d, weights + AreaColumns::kGroup * tap);
    sum = hn::Add(sum, hn::Mul(value, weight));
    rest = hn::ShiftRight<8>(rest);
  }
  return sum;
}

template <int kWindows, int kTaps, int kRows>
void across(const RowsAcross<float>& rows, const AreaColumns& columns) {
  const Floats d;
  const Gatherer<kWindows> gatherer(columns.bytes, rows.ahead);
  const std::array<const uint8_t*, 2> from = rows.from;
  const std::array<float*, 2> to = rows.to;
  const float* weights = columns.weights.data();
  const int64_t quads = kTaps < 4 ? 1 : columns.quads();
  const int64_t elements = AreaColumns::kGroup * columns.groups();
  for (int64_t x = 0; x < elements; x += kLanes) {
    const int64_t part = x % AreaColumns::kGroup;
    const int64_t first = x / AreaColumns::kGroup * quads;
    hn::Vec<Floats> sums[kRows];
    HWY_UNROLL(2)
    for (int row = 0; row < kRows; ++row) sums[row] = hn::Zero(d);
    for (int64_t quad = first; quad < first + quads; ++quad) {
      hn::Vec<GatheredBytes> bytes[kRows];
      gatherer.blocks(from.data(), 2 * quad + part / 4, bytes);
      HWY_UNROLL(2)
      for (int row = 0; row < kRows; ++row) {
        sums[row] = add_taps<kTaps>(sums[row], bytes[row], weights + 32 * quad + part);
      }
    }
    HWY_UNROLL(2)
    for (size_t row = 0; row < kRows; ++row) hn::StoreU(sums[row], d, to[row] + x);
  }
}

template <int kTaps, int kRows>
void across_windows(const RowsAcross<float>& rows, const AreaColumns& columns) {
  switch (columns.bytes.windows) {
    case 1:
      return across<1, kTaps, kRows>(rows, columns);
    case 2:
      return across<2, kTaps, kRows>(rows, columns);
    default:
      return across<0, kTaps, kRows>(rows, columns);
  }
}

template <int kRows>
void across_taps(const RowsAcross<float>& rows, const AreaColumns& columns) {
  if (columns.taps < 3) return across_windows<2, kRows>(rows, columns);
  if (columns.taps == 3) return across_windows<3, kRows>(rows, columns);
  across_windows<4, kRows>(rows, columns);
}

void area_across(const RowsAcross<float>& rows, const AreaColumns& columns) {
  rows.count == 2 ? across_taps<2>(rows, columns) : across_taps<1>(rows, columns);
}

void area_add(float* sum, const float* row, float weight, bool is_first, int64_t count) {
  const Floats d;
  const auto factor = hn::Set(d, weight);
  for (int64_t x = 0; x < count; x += kLanes) {
    const auto before = is_first ? hn::Zero(d) : hn::LoadU(d, sum + x);
    hn::StoreU(hn::Add(before, hn::Mul(hn::LoadU(d, row + x), factor)), d, sum + x);
  }
}

void area_finish(uint8_t* dst, const float* sum, int64_t count) {
  round_to_bytes(dst, count, [&](int64_t x) { return hn::LoadU(Floats(), sum + x); });
}

#endif

}  // namespace kel::imgproc::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace kel::imgproc {

HWY_EXPORT(area_across);
HWY_EXPORT(area_add);
HWY_EXPORT(area_finish);

void area_across(const RowsAcross<float>& rows, const AreaColumns& columns) {
  HWY_DYNAMIC_DISPATCH(area_across)(rows, columns);
}

void area_add(float* sum, const float* row, float weight, bool is_first, int64_t count) {
  HWY_DYNAMIC_DISPATCH(area_add)(sum, row, weight, is_first, count);
}

void area_finish(uint8_t* dst, const float* sum, int64_t count) {
  HWY_DYNAMIC_DISPATCH(area_finish)(dst, sum, count);
}

}  // namespace kel::imgproc
#endif
