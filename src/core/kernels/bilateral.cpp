// Byte permutes, which not all processors with AVX-512 have, are worth a target of their own.
#define HWY_WANT_AVX3_DL

#include "core/kernels/bilateral.h"

#include <algorithm>
#include <cmath>
#include <cstring>

#include "core/kernels/vector_targets.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "core/kernels/bilateral.cpp"
#include <hwy/foreach_target.h>
// After foreach_target.h
#include <hwy/highway.h>

HWY_BEFORE_NAMESPACE();
namespace kel::imageprocess::HWY_NAMESPACE {

#if HWY_TARGET == HWY_SCALAR || HWY_TARGET == HWY_EMU128  // no vectors

void bilateral(uint8_t* result, const uint8_t* middle, int64_t count, int channels,
               BilateralOrder order, const BilateralTaps& taps, const BilateralRanges&) {
  bilateral_plain(result, middle, count, channels, order, taps);
}

void split_pixels(const uint8_t* row, int64_t count, uint8_t* planes, int64_t plane) {
  split_pixels_plain(row, count, planes, plane);
}

void find_ranges(const CellRanges& ranges) { find_ranges_plain(ranges); }

#else

namespace hn = hwy::HWY_NAMESPACE;

using Floats = hn::CappedTag<float, kBilateralPixels>;
using Ints = hn::RebindToSigned<Floats>;
using FewBytes = hn::Rebind<uint8_t, Floats>;
using FloatVector = hn::Vec<Floats>;
using IntVector = hn::Vec<Ints>;
constexpr auto kLanes = static_cast<int64_t>(hn::MaxLanes(Floats()));

template <int kChannels>
struct Pixels {
  IntVector channel[kChannels];

  HWY_INLINE Pixels(const uint8_t* from, int64_t plane) {
    HWY_UNROLL(3)
    for (int c = 0; c < kChannels; ++c) {
      channel[c] = hn::PromoteTo(Ints(), hn::LoadU(FewBytes(), from + c * plane));
    }
  }
};

#if HWY_NATIVE_FMA

// a * b + c, rounded once.
HWY_INLINE FloatVector fused(FloatVector a, FloatVector b, FloatVector c) {
  return hn::MulAdd(a, b, c);
}

#else

// The lanes' sums in double precision, in two halves, and these back in single precision.
#if HWY_TARGET == HWY_WASM  // for which Highway converts no doubles
struct Doubles {
  explicit HWY_INLINE Doubles(FloatVector v)
      : low(wasm_f64x2_promote_low_f32x4(v.raw)),
        high(wasm_f64x2_promote_low_f32x4(wasm_i64x2_shuffle(v.raw, v.raw, 1, 1))) {}
  HWY_INLINE void multiply_and_add(const Doubles& factor, const Doubles& addend) {
    low = wasm_f64x2_add(wasm_f64x2_mul(low, factor.low), addend.low);
    high = wasm_f64x2_add(wasm_f64x2_mul(high, factor.high), addend.high);
  }
  // Whether a lane lies exactly between two floats.
  HWY_INLINE bool is_between() const {
    const v128_t beyond = wasm_i64x2_splat((1 << 29) - 1);
    const v128_t middle = wasm_i64x2_splat(1 << 28);
    return wasm_v128_any_true(wasm_v128_or(wasm_i64x2_eq(wasm_v128_and(low, beyond), middle),
                                           wasm_i64x2_eq(wasm_v128_and(high, beyond), middle)));
  }
  HWY_INLINE FloatVector floats() const {
    return FloatVector{wasm_i64x2_shuffle(wasm_f32x4_demote_f64x2_zero(low),
                                          wasm_f32x4_demote_f64x2_zero(high), 0, 2)};
  }
  v128_t low;
  v128_t high;
};
#else
struct Doubles {
  using D = hn::Repartition<double, Floats>;
  using Half = hn::Half<Floats>;
  explicit HWY_INLINE Doubles(FloatVector v)
      : low(hn::PromoteTo(D(), hn::LowerHalf(Half(), v))),
        high(hn::PromoteTo(D(), hn::UpperHalf(Half(), v))) {}
  HWY_INLINE void multiply_and_add(const Doubles& factor, const Doubles& addend) {
    low = hn::Add(hn::Mul(low, factor.low), addend.low);
    high = hn::Add(hn::Mul(high, factor.high), addend.high);
  }
  // Whether a lane lies exactly between two floats.
  HWY_INLINE bool is_between() const {
    const hn::RebindToUnsigned<D> d64;
    const auto of = [&](auto v) HWY_ATTR {
      const auto beyond = hn::And(hn::BitCast(d64, v), hn::Set(d64, (1U << 29) - 1));
      return hn::Eq(beyond, hn::Set(d64, 1U << 28));
    };
    return !hn::AllFalse(d64, hn::Or(of(low), of(high)));
  }
  HWY_INLINE FloatVector floats() const {
    return hn::Combine(Floats(), hn::DemoteTo(Half(), high), hn::DemoteTo(Half(), low));
  }
  hn::Vec<D> low;
  hn::Vec<D> high;
};
#endif

// a * b + c, rounded once; the product is exact in double precision. Rounding twice goes wrong only
// from exactly between two floats. (Sums so small that these lie elsewhere are exact.)
HWY_INLINE FloatVector fused(FloatVector a, FloatVector b, FloatVector c) {
  Doubles sum(a);
  sum.multiply_and_add(Doubles(b), Doubles(c));
  if (HWY_LIKELY(!sum.is_between())) return sum.floats();
  float factors[kLanes];
  float others[kLanes];
  float sums[kLanes];
  hn::StoreU(a, Floats(), factors);
  hn::StoreU(b, Floats(), others);
  hn::StoreU(c, Floats(), sums);
  for (int64_t i = 0; i < kLanes; ++i) sums[i] = std::fma(factors[i], others[i], sums[i]);
  return hn::LoadU(Floats(), sums);
}

#endif

// Weights of any difference.
class AllColours {
 public:
  explicit HWY_INLINE AllColours(const float* weights) : weights_(weights) {}
  HWY_INLINE FloatVector operator[](IntVector difference) const {
    return hn::GatherIndex(Floats(), weights_, difference);
  }

 private:
  const float* weights_;
};

#if HWY_TARGET <= HWY_AVX3
// Weights of differences below kEnd, 32 or 64, which fit in registers.
template <int kEnd>
class NearColours {
 public:
  explicit HWY_INLINE NearColours(const float* weights) {
    HWY_UNROLL(4)
    for (int i = 0; i < kEnd / kLanes; ++i) weights_[i] = hn::LoadU(Floats(), weights + i * kLanes);
  }
  HWY_INLINE FloatVector operator[](IntVector difference) const {
    const FloatVector low{lookup(weights_[0], difference, weights_[1])};
    if constexpr (kEnd == 32) {
      return low;
    } else {
      const FloatVector high{lookup(weights_[2], difference, weights_[3])};
      const auto is_high = hn::TestBit(difference, hn::Set(Ints(), 32));
      return hn::IfThenElse(hn::RebindMask(Floats(), is_high), high, low);
    }
  }

 private:
  // Only the lowest five bits count.
  static HWY_INLINE FloatVector lookup(FloatVector low, IntVector at, FloatVector high) {
    return FloatVector{_mm512_permutex2var_ps(low.raw, at.raw, high.raw)};
  }

  FloatVector weights_[kEnd / kLanes];
};
#endif

// Products that would be below the normal range without the scale are rounded to multiples of the
// smallest number, which those between the least normal number and its double are.
template <bool kHasSubnormal>
HWY_INLINE FloatVector multiply_weights(FloatVector place, FloatVector colour) {
  const auto product = hn::Mul(place, colour);
  if constexpr (!kHasSubnormal) return product;
  const Floats d;
  const auto least_normal = hn::Set(d, 0x1p-126F * kWeightScale);
  const auto rounded = hn::Sub(fused(place, colour, least_normal), least_normal);
  return hn::IfThenElse(hn::Lt(product, least_normal), rounded, product);
}

template <int kChannels>
struct Tap {
  // Implicit constructors do not get the instruction set, which GCC minds.
  HWY_INLINE Tap() = default;
  FloatVector weight;
  FloatVector channel[kChannels];
};

template <int kChannels, bool kHasSubnormal, class Colours>
HWY_INLINE Tap<kChannels> weigh(const uint8_t* from, float place, const Pixels<kChannels>& middle,
                                const Colours& colours, int64_t plane) {
  const Floats d;
  const Pixels<kChannels> pixels(from, plane);
  auto difference = hn::Abs(hn::Sub(pixels.channel[0], middle.channel[0]));
  HWY_UNROLL(2)
  for (int c = 1; c < kChannels; ++c) {
    difference = hn::Add(difference, hn::Abs(hn::Sub(pixels.channel[c], middle.channel[c])));
  }
  Tap<kChannels> tap;
  tap.weight = multiply_weights<kHasSubnormal>(hn::Set(d, place), colours[difference]);
  HWY_UNROLL(3)
  for (int c = 0; c < kChannels; ++c) tap.channel[c] = hn::ConvertTo(d, pixels.channel[c]);
  return tap;
}

template <int kChannels>
struct Sums {
  FloatVector weight = hn::Zero(Floats());
  FloatVector channel[kChannels];

  HWY_INLINE Sums() {
    HWY_UNROLL(3)
    for (int c = 0; c < kChannels; ++c) channel[c] = hn::Zero(Floats());
  }

  HWY_INLINE void add(const Tap<kChannels>& tap) {
    weight = hn::Add(weight, tap.weight);
    HWY_UNROLL(3)
    for (int c = 0; c < kChannels; ++c) {
      channel[c] = fused(tap.channel[c], tap.weight, channel[c]);
    }
  }

  HWY_INLINE void add(const Tap<kChannels> (&taps)[4]) {
    weight = hn::Add(weight, hn::Add(hn::Add(taps[0].weight, taps[2].weight),
                                     hn::Add(taps[1].weight, taps[3].weight)));
    HWY_UNROLL(3)
    for (int c = 0; c < kChannels; ++c) {
      const auto product = [&](int i)
                               HWY_ATTR { return hn::Mul(taps[i].channel[c], taps[i].weight); };
      channel[c] = hn::Add(
          channel[c], hn::Add(hn::Add(product(0), product(2)), hn::Add(product(1), product(3))));
    }
  }
};

template <int kChannels, bool kHasSubnormal>
class Windows {
 public:
  HWY_INLINE Windows(const uint8_t* middle, const BilateralTaps& taps)
      : middle_(middle), taps_(taps), end_(taps.ends[taps.rows - 1]), pixels_(middle, taps.plane) {}

  template <class Colours>
  HWY_INLINE Sums<kChannels> sum_in_turn(const Colours& colours) const {
    Sums<kChannels> sums;
    for (int32_t i = 0; i < end_; ++i) sums.add(tap(i, colours));
    return sums;
  }

  HWY_INLINE Sums<kChannels> sum_by_fours() const {
    const AllColours colours(taps_.colour);
    Sums<kChannels> sums;
    int32_t i = 0;
    for (; i + 4 <= end_; i += 4) {
      sums.add({tap(i, colours), tap(i + 1, colours), tap(i + 2, colours), tap(i + 3, colours)});
    }
    for (; i < end_; ++i) sums.add(tap(i, colours));
    return sums;
  }

#if HWY_TARGET <= HWY_AVX3
  // Where differences are small rows are summed with weights from registers.
  HWY_INLINE Sums<kChannels> sum_near_rows(const BilateralRanges& ranges) const {
    constexpr int kNear = 64;
    if (*ranges.spread < kNear / 2) return sum_in_turn(NearColours<kNear / 2>(taps_.colour));
    const NearColours<kNear> near_colours(taps_.colour);
    if (*ranges.spread < kNear) return sum_in_turn(near_colours);
    const AllColours all_colours(taps_.colour);
    const int32_t least = hn::GetLane(hn::MinOfLanes(Ints(), pixels_.channel[0]));
    const int32_t greatest = hn::GetLane(hn::MaxOfLanes(Ints(), pixels_.channel[0]));
    Sums<kChannels> sums;
    int32_t i = 0;
    for (int64_t row = 0; row < taps_.rows; ++row) {
      const int64_t at = row * ranges.pitch;
      const int32_t row_end = taps_.ends[row];
      if (ranges.greatest[at] - least < kNear && greatest - ranges.least[at] < kNear) {
        for (; i < row_end; ++i) sums.add(tap(i, near_colours));
      } else {
        for (; i < row_end; ++i) sums.add(tap(i, all_colours));
      }
    }
    return sums;
  }
#endif

 private:
  template <class Colours>
  HWY_INLINE Tap<kChannels> tap(int32_t i, const Colours& colours) const {
    return weigh<kChannels, kHasSubnormal>(middle_ + taps_.offsets[i], taps_.weights[i], pixels_,
                                           colours, taps_.plane);
  }

  const uint8_t* const middle_;
  const BilateralTaps taps_;
  const int32_t end_;  // of all taps
  const Pixels<kChannels> pixels_;
};

template <int kChannels, bool kHasSubnormal>
HWY_INLINE Sums<kChannels> sum_windows(const uint8_t* middle, BilateralOrder order,
                                       const BilateralTaps& taps, const BilateralRanges& ranges) {
  const Windows<kChannels, kHasSubnormal> windows(middle, taps);
  if (order == BilateralOrder::kByFours) return windows.sum_by_fours();
#if HWY_TARGET <= HWY_AVX3
  if (kChannels == 1) return windows.sum_near_rows(ranges);
#else
  static_cast<void>(ranges);
#endif
  return windows.sum_in_turn(AllColours(taps.colour));
}

HWY_INLINE void store_rounded(uint8_t* to, FloatVector value) {
  hn::StoreU(hn::DemoteTo(FewBytes(), hn::NearestInt(value)), FewBytes(), to);
}

// Gray is divided, colours are multiplied with the reciprocal.
template <int kChannels, bool kHasSubnormal>
HWY_INLINE void filter_pixels(uint8_t* result, const uint8_t* middle, BilateralOrder order,
                              const BilateralTaps& taps, const BilateralRanges& ranges) {
  uint8_t planes[3][kBilateralPixels];
  for (int64_t x = 0; x < kBilateralPixels; x += kLanes) {
    const Sums<kChannels> sums =
        sum_windows<kChannels, kHasSubnormal>(middle + x, order, taps, ranges);
    if constexpr (kChannels == 1) {
      store_rounded(result + x, hn::Div(sums.channel[0], sums.weight));
    } else {
      const auto reciprocal = hn::Div(hn::Set(Floats(), 1.0F), sums.weight);
      for (int c = 0; c < kChannels; ++c) {
        store_rounded(planes[c] + x, hn::Mul(sums.channel[c], reciprocal));
      }
    }
  }
  if constexpr (kChannels == 3) {
    const hn::FixedTag<uint8_t, kBilateralPixels> d;
    hn::StoreInterleaved3(hn::LoadU(d, planes[0]), hn::LoadU(d, planes[1]), hn::LoadU(d, planes[2]),
                          d, result);
  }
}

#if HWY_TARGET <= HWY_AVX3_DL
// Sums of gray windows in turn, for 64 pixels whose weights are put together from tables of the
// weights' bytes. On noise gathers take 1.5 times as long. Vectors of words hold the pixels in the
// order in which unpacking gives them: the same four of each block of 16.
class ManySums {
 public:
  static constexpr int64_t kPixels = 64;

  explicit HWY_INLINE ManySums(const float* weights) {
    alignas(64) uint8_t bytes[4][256];
    for (int i = 0; i < 256; i += 16) {
      const __m512i bits = _mm512_loadu_si512(weights + i);
      store_lowest(bits, bytes[0] + i);
      store_lowest(_mm512_srli_epi32(bits, 8), bytes[1] + i);
      store_lowest(_mm512_srli_epi32(bits, 16), bytes[2] + i);
      store_lowest(_mm512_srli_epi32(bits, 24), bytes[3] + i);
    }
    for (int i = 0; i < 4; ++i) {
      for (int j = 0; j < 4; ++j) table_[i][j] = _mm512_load_si512(bytes[i] + 64 * j);
    }
  }

  HWY_INLINE void filter(uint8_t* result, const uint8_t* middle, const BilateralTaps& taps) const {
    const __m512i pixels = _mm512_loadu_si512(middle);
    __m512 weights[4];
    __m512 values[4];
    for (int i = 0; i < 4; ++i) weights[i] = values[i] = _mm512_setzero_ps();
    const int32_t end = taps.ends[taps.rows - 1];
    for (int32_t i = 0; i < end; ++i) {
      const __m512i tap = _mm512_loadu_si512(middle + taps.offsets[i]);
      const __m512i difference =
          _mm512_sub_epi8(_mm512_max_epu8(tap, pixels), _mm512_min_epu8(tap, pixels));
      add(weights, values, tap, difference, _mm512_set1_ps(taps.weights[i]));
    }
    __m512i means[4];
    for (int i = 0; i < 4; ++i) {
      means[i] = _mm512_cvtps_epi32(_mm512_div_ps(values[i], weights[i]));
    }
    const __m512i low = _mm512_packs_epi32(means[0], means[1]);
    const __m512i high = _mm512_packs_epi32(means[2], means[3]);
    _mm512_storeu_si512(result, _mm512_packus_epi16(low, high));
  }

 private:
  static HWY_INLINE void store_lowest(__m512i words, uint8_t* to) {
    _mm_store_si128(reinterpret_cast<__m128i*>(to), _mm512_cvtepi32_epi8(words));
  }

  // The bytes `i` of weights. Permutes look at seven bits.
  HWY_INLINE __m512i lookup(int i, __m512i difference, __mmask64 is_high) const {
    const __m512i low = _mm512_permutex2var_epi8(table_[i][0], difference, table_[i][1]);
    const __m512i high = _mm512_permutex2var_epi8(table_[i][2], difference, table_[i][3]);
    return _mm512_mask_mov_epi8(low, is_high, high);
  }

  HWY_INLINE void add(__m512 (&weights)[4], __m512 (&values)[4], __m512i tap, __m512i difference,
                      __m512 place) const {
    const __mmask64 is_high = _mm512_movepi8_mask(difference);
    const __m512i byte0 = lookup(0, difference, is_high);
    const __m512i byte1 = lookup(1, difference, is_high);
    const __m512i byte2 = lookup(2, difference, is_high);
    const __m512i byte3 = lookup(3, difference, is_high);
    const __m512i low01 = _mm512_unpacklo_epi8(byte0, byte1);
    const __m512i high01 = _mm512_unpackhi_epi8(byte0, byte1);
    const __m512i low23 = _mm512_unpacklo_epi8(byte2, byte3);
    const __m512i high23 = _mm512_unpackhi_epi8(byte2, byte3);
    const __m512i colours[4] = {
        _mm512_unpacklo_epi16(low01, low23), _mm512_unpackhi_epi16(low01, low23),
        _mm512_unpacklo_epi16(high01, high23), _mm512_unpackhi_epi16(high01, high23)};
    HWY_UNROLL(4)
    for (int i = 0; i < 4; ++i) {
      const __m512 weight = _mm512_mul_ps(place, _mm512_castsi512_ps(colours[i]));
      weights[i] = _mm512_add_ps(weights[i], weight);
      values[i] = _mm512_fmadd_ps(part(tap, i), weight, values[i]);
    }
  }

  static HWY_INLINE __m512 part(__m512i tap, int i) {
    const __m512i none = _mm512_setzero_si512();
    const __m512i words = i < 2 ? _mm512_unpacklo_epi8(tap, none) : _mm512_unpackhi_epi8(tap, none);
    return _mm512_cvtepi32_ps(i % 2 == 0 ? _mm512_unpacklo_epi16(words, none)
                                         : _mm512_unpackhi_epi16(words, none));
  }

  __m512i table_[4][4];
};
#endif

template <int kChannels, bool kHasSubnormal>
HWY_INLINE void filter_run(uint8_t* result, const uint8_t* middle, int64_t count,
                           BilateralOrder order, const BilateralTaps& taps,
                           BilateralRanges ranges) {
  int64_t x = 0;
  for (; x + kBilateralPixels <= count; x += kBilateralPixels) {
    filter_pixels<kChannels, kHasSubnormal>(result + kChannels * x, middle + x, order, taps,
                                            ranges);
    ranges.skip(1);
  }
  if (x == count) return;
  uint8_t last[kChannels * kBilateralPixels];
  filter_pixels<kChannels, kHasSubnormal>(last, middle + x, order, taps, ranges);
  std::memcpy(result + kChannels * x, last, static_cast<size_t>(kChannels * (count - x)));
}

#if HWY_TARGET <= HWY_AVX3_DL
// Gray windows in turn. What is near has quicker ways, a block of 16 at a time.
void filter_gray_run(uint8_t* result, const uint8_t* middle, int64_t count,
                     const BilateralTaps& taps, BilateralRanges ranges) {
  constexpr int64_t kPixels = ManySums::kPixels;
  constexpr int64_t kBlocks = kPixels / kBilateralPixels;
  constexpr auto kInTurn = BilateralOrder::kInTurn;
  const auto are_far = [](const uint8_t* spreads, int64_t blocks) {
    return std::any_of(spreads, spreads + blocks, [](uint8_t spread) { return spread >= 64; });
  };
  int64_t x = 0;
  if (count >= kPixels && are_far(ranges.spread, count / kBilateralPixels)) {
    const ManySums sums(taps.colour);
    for (; x + kPixels <= count; x += kPixels) {
      if (are_far(ranges.spread, kBlocks)) {
        sums.filter(result + x, middle + x, taps);
      } else {
        filter_run<1, false>(result + x, middle + x, kPixels, kInTurn, taps, ranges);
      }
      ranges.skip(kBlocks);
    }
  }
  filter_run<1, false>(result + x, middle + x, count - x, kInTurn, taps, ranges);
}
#endif

void bilateral(uint8_t* result, const uint8_t* middle, int64_t count, int channels,
               BilateralOrder order, const BilateralTaps& taps, const BilateralRanges& ranges) {
#if HWY_TARGET <= HWY_AVX3_DL
  if (channels == 1 && !taps.has_subnormal && order == BilateralOrder::kInTurn) {
    return filter_gray_run(result, middle, count, taps, ranges);
  }
#endif
  const auto filter = channels == 1
                          ? taps.has_subnormal ? filter_run<1, true> : filter_run<1, false>
                      : taps.has_subnormal ? filter_run<3, true>
                                           : filter_run<3, false>;
  filter(result, middle, count, order, taps, ranges);
}

void split_pixels(const uint8_t* row, int64_t count, uint8_t* planes, int64_t plane) {
  const hn::FixedTag<uint8_t, 16> d;
  int64_t x = 0;
  for (; x + 16 <= count; x += 16) {
    hn::Vec<decltype(d)> v0, v1, v2;
    hn::LoadInterleaved3(d, row + 3 * x, v0, v1, v2);
    hn::StoreU(v0, d, planes + x);
    hn::StoreU(v1, d, planes + plane + x);
    hn::StoreU(v2, d, planes + 2 * plane + x);
  }
  split_pixels_plain(row + 3 * x, count - x, planes + x, plane);
}

// Cells first, then doubling widths.
void find_ranges(const CellRanges& ranges) {
  const hn::CappedTag<uint8_t, kRangeSlack> d;
  const hn::Repartition<uint16_t, decltype(d)> d16;
  const hn::Repartition<uint32_t, decltype(d)> d32;
  const hn::RebindToSigned<decltype(d32)> cells;
  const hn::Rebind<uint8_t, decltype(d32)> of_cells;
  const auto merge = [&](auto v, auto of_two) HWY_ATTR {
    const auto pairs = of_two(v, hn::BitCast(d, hn::ShiftRight<8>(hn::BitCast(d16, v))));
    const auto fours = of_two(pairs, hn::BitCast(d, hn::ShiftRight<16>(hn::BitCast(d32, pairs))));
    // Highway 1.0.3 truncates wrongly in builds for AVX3_DL and newer processors.
    return hn::DemoteTo(of_cells, hn::And(hn::BitCast(cells, fours), hn::Set(cells, 0xFF)));
  };
  const auto less = [](auto a, auto b) HWY_ATTR { return hn::Min(a, b); };
  const auto more = [](auto a, auto b) HWY_ATTR { return hn::Max(a, b); };
  constexpr auto kBytes = static_cast<int64_t>(hn::MaxLanes(d));
  for (int64_t x = 0; x < ranges.cells + ranges.width; x += kBytes / kCell) {
    const auto bytes = hn::LoadU(d, ranges.row + kCell * x);
    hn::StoreU(merge(bytes, less), of_cells, ranges.least + x);
    hn::StoreU(merge(bytes, more), of_cells, ranges.greatest + x);
  }
  for (int32_t width = 1; width < ranges.width;) {
    const int32_t added = HWY_MIN(width, ranges.width - width);
    width += added;
    for (int64_t x = 0; x < ranges.cells + ranges.width - width; x += kBytes) {
      uint8_t* const least = ranges.least + x;
      uint8_t* const greatest = ranges.greatest + x;
      hn::StoreU(less(hn::LoadU(d, least), hn::LoadU(d, least + added)), d, least);
      hn::StoreU(more(hn::LoadU(d, greatest), hn::LoadU(d, greatest + added)), d, greatest);
    }
  }
}

#endif

}  // namespace kel::imageprocess::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace kel::imageprocess {

HWY_EXPORT(bilateral);
HWY_EXPORT(split_pixels);
HWY_EXPORT(find_ranges);

void bilateral(uint8_t* result, const uint8_t* middle, int64_t count, int channels,
               BilateralOrder order, const BilateralTaps& taps, const BilateralRanges& ranges) {
  HWY_DYNAMIC_DISPATCH(bilateral)(result, middle, count, channels, order, taps, ranges);
}

void split_pixels(const uint8_t* row, int64_t count, uint8_t* planes, int64_t plane) {
  HWY_DYNAMIC_DISPATCH(split_pixels)(row, count, planes, plane);
}

void find_ranges(const CellRanges& ranges) { HWY_DYNAMIC_DISPATCH(find_ranges)(ranges); }

}  // namespace kel::imageprocess
#endif
