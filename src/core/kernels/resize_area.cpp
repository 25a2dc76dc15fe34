#include "core/kernels/vector_targets.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "core/kernels/resize_area.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

#include "core/kernels/byte_gather-inl.h"
#include "core/kernels/resize_area.h"
#include "core/kernels/round_to_bytes-inl.h"

HWY_BEFORE_NAMESPACE();
namespace kel::imgproc::HWY_NAMESPACE {

#if HWY_TARGET == HWY_SCALAR || HWY_TARGET == HWY_EMU128  // no vectors

void area_across(float* out, const uint8_t* row, const AreaColumns& columns) {
  area_across_plain(out, row, columns);
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

template <int kWindows, int kTaps>
void across(float* out, const uint8_t* row, const AreaColumns& columns) {
  const Floats d;
  const int64_t quads = kTaps < 4 ? 1 : columns.quads();
  const int64_t groups = columns.groups();
  for (int64_t group = 0; group < groups; ++group) {
    for (int64_t part = 0; part < AreaColumns::kGroup; part += kLanes, out += kLanes) {
      auto sum = hn::Zero(d);
      for (int64_t quad = group * quads; quad < (group + 1) * quads; ++quad) {
        const auto bytes = gather_blocks<kWindows>(row, columns.bytes, 2 * quad + part / 4);
        sum = add_taps<kTaps>(sum, bytes, columns.weights.data() + 32 * quad + part);
      }
      hn::StoreU(sum, d, out);
    }
  }
}

template <int kTaps>
void across_taps(float* out, const uint8_t* row, const AreaColumns& columns) {
  switch (columns.bytes.windows) {
    case 1:
      return across<1, kTaps>(out, row, columns);
    case 2:
      return across<2, kTaps>(out, row, columns);
    default:
      return across<0, kTaps>(out, row, columns);
  }
}

void area_across(float* out, const uint8_t* row, const AreaColumns& columns) {
  if (columns.taps < 3) return across_taps<2>(out, row, columns);
  if (columns.taps == 3) return across_taps<3>(out, row, columns);
  across_taps<4>(out, row, columns);
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

void area_across(float* out, const uint8_t* row, const AreaColumns& columns) {
  HWY_DYNAMIC_DISPATCH(area_across)(out, row, columns);
}

void area_add(float* sum, const float* row, float weight, bool is_first, int64_t count) {
  HWY_DYNAMIC_DISPATCH(area_add)(sum, row, weight, is_first, count);
}

void area_finish(uint8_t* dst, const float* sum, int64_t count) {
  HWY_DYNAMIC_DISPATCH(area_finish)(dst, sum, count);
}

}  // namespace kel::imgproc
#endif
