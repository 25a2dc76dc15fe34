#include "core/kernels/gaussian.h"

#include <array>

#include "core/kernels/vector_targets.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "core/kernels/gaussian.cpp"
#include <hwy/foreach_target.h>
// After foreach_target.h
#include <hwy/highway.h>

#include "core/kernels/gaussian-inl.h"

HWY_BEFORE_NAMESPACE();
namespace kel::imageprocess::HWY_NAMESPACE {

#if HWY_TARGET == HWY_SCALAR || HWY_TARGET == HWY_EMU128  // no vectors

void gaussian_along_row(int16_t* sums, const uint8_t* row, int64_t count, int step,
                        GaussianTaps taps) {
  gaussian_along_row_plain(sums, row, count, step, taps);
}

void gaussian_across_rows(uint8_t* const* results, const int16_t* const* rows, int64_t count,
                          GaussianTaps taps) {
  gaussian_across_rows_plain(results, rows, count, taps);
}

#else

HWY_INLINE hn::Vec<Words> load_words(const uint16_t* from) { return hn::LoadU(Words(), from); }
HWY_INLINE hn::Vec<Words> load_words(const uint8_t* from) {
  return hn::PromoteTo(Words(), hn::LoadU(Bytes(), from));
}

// Four vectors at a time, so that a tap is spread over the lanes once for all of them.
template <typename T>
HWY_INLINE void sum_along(int16_t* sums, const T* middle, int step, GaussianTaps taps) {
  const Words d;
  hn::Vec<Words> sum[4];
  const auto tap0 = hn::Set(d, taps.taps[0]);
  const auto offset = hn::Set(d, static_cast<uint16_t>(-kSumOffset));
  HWY_UNROLL(4)
  for (int i = 0; i < 4; ++i) {
    sum[i] = hn::Add(offset, hn::Mul(tap0, load_words(middle + i * kLanes)));
  }
  for (int64_t at = 1; at <= taps.radius; ++at) {
    const auto tap = hn::Set(d, taps.taps[at]);
    HWY_UNROLL(4)
    for (int i = 0; i < 4; ++i) {
      const T* from = middle + i * kLanes;
      const auto both = hn::Add(load_words(from - at * step), load_words(from + at * step));
      sum[i] = hn::Add(sum[i], hn::Mul(tap, both));
    }
  }
  HWY_UNROLL(4)
  for (int i = 0; i < 4; ++i) {
    hn::StoreU(hn::BitCast(SignedWords(), sum[i]), SignedWords(), sums + i * kLanes);
  }
}

// Few taps read bytes; for more it pays to widen them beforehand.
void gaussian_along_row(int16_t* sums, const uint8_t* row, int64_t count, int step,
                        GaussianTaps taps) {
  constexpr int64_t kChunk = 1024;
  constexpr int64_t kMostReach = int64_t{kMostTaps / 2} * 3;
  uint16_t words[kChunk + 2 * kMostReach + 4 * kLanes];
  const int64_t reach = int64_t{taps.radius} * step;
  if (taps.radius <= 2) {
    for (int64_t x = 0; x < count; x += 4 * kLanes) sum_along(sums + x, row + x, step, taps);
    return;
  }
  for (int64_t left = 0; left < count; left += kChunk) {
    const int64_t chunk = HWY_MIN(kChunk, count - left);
    for (int64_t x = 0; x < chunk + 2 * reach; x += kLanes) {
      hn::StoreU(load_words(row + left - reach + x), Words(), words + x);
    }
    for (int64_t x = 0; x < chunk; x += 4 * kLanes) {
      sum_along(sums + left + x, words + reach + x, step, taps);
    }
  }
}

// Two rows of sums, woven into pairs, are multiplied with two taps at once. Which two differs
// between results of even and odd rows.
struct TapPairs {
  std::array<int32_t, kMostTaps / 2 + 1> even;
  std::array<int32_t, kMostTaps / 2 + 1> odd;
  int64_t count;

  explicit HWY_INLINE TapPairs(GaussianTaps taps) : count(taps.radius + 1) {
    const auto tap = [&](int32_t row) -> uint32_t {
      const int32_t at = row < taps.radius ? taps.radius - row : row - taps.radius;
      return at > taps.radius ? 0 : taps.taps[at];
    };
    for (int32_t i = 0; i <= taps.radius; ++i) {
      const auto to = static_cast<size_t>(i);
      even[to] = static_cast<int32_t>(tap(2 * i) | tap(2 * i + 1) << 16);
      odd[to] = static_cast<int32_t>(tap(2 * i - 1) | tap(2 * i) << 16);
    }
  }
};

struct Accumulators {
  // Implicit constructors do not get the instruction set, which GCC minds.
  HWY_INLINE Accumulators() = default;

  hn::Vec<Sums> low[kGaussianRows];
  hn::Vec<Sums> high[kGaussianRows];

  // Rows 2 * pair and the next, for results kFirst to kLast.
  template <int kFirst, int kLast>
  HWY_INLINE void add(const int16_t* const* rows, const TapPairs& taps, int64_t pair, int64_t x) {
    const SignedWords d;
    const auto top = hn::LoadU(d, rows[2 * pair] + x);
    const auto bottom = hn::LoadU(d, rows[2 * pair + 1] + x);
    const auto lower = hn::InterleaveLower(d, top, bottom);
    const auto upper = hn::InterleaveUpper(d, top, bottom);
    HWY_UNROLL(4)
    for (int i = kFirst; i <= kLast; ++i) {
      const auto& table = i % 2 == 0 ? taps.even : taps.odd;
      const auto tap = hn::BitCast(d, hn::Set(Sums(), table[static_cast<size_t>(pair - i / 2)]));
      low[i] = add_products(low[i], lower, tap);
      high[i] = add_products(high[i], upper, tap);
    }
  }
};

HWY_INLINE void sum_across(uint8_t* const* results, const int16_t* const* rows, int64_t x,
                           const TapPairs& taps) {
  const hn::RebindToSigned<Bytes> signed_bytes;
  Accumulators sums;
  HWY_UNROLL(4)
  for (int i = 0; i < kGaussianRows; ++i) sums.low[i] = sums.high[i] = hn::Zero(Sums());
  sums.add<0, 1>(rows, taps, 0, x);
  for (int64_t pair = 1; pair < taps.count; ++pair) sums.add<0, 3>(rows, taps, pair, x);
  sums.add<2, 3>(rows, taps, taps.count, x);
  HWY_UNROLL(4)
  for (int i = 0; i < kGaussianRows; ++i) {
    const auto words = hn::ReorderDemote2To(SignedWords(), hn::ShiftRight<16>(sums.low[i]),
                                            hn::ShiftRight<16>(sums.high[i]));
    const auto bytes = hn::BitCast(Bytes(), hn::DemoteTo(signed_bytes, words));
    hn::StoreU(hn::Xor(bytes, hn::Set(Bytes(), 0x80)), Bytes(), results[i] + x);
  }
}

void gaussian_across_rows(uint8_t* const* results, const int16_t* const* rows, int64_t count,
                          GaussianTaps taps) {
  if (count < kLanes) return gaussian_across_rows_plain(results, rows, count, taps);
  const TapPairs pairs(taps);
  for (int64_t x = 0; x < count; x += kLanes) {  // the last vector ends with the row
    sum_across(results, rows, HWY_MIN(x, count - kLanes), pairs);
  }
}

#endif

}  // namespace kel::imageprocess::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace kel::imageprocess {

HWY_EXPORT(gaussian_along_row);
HWY_EXPORT(gaussian_across_rows);

void gaussian_along_row(int16_t* sums, const uint8_t* row, int64_t count, int step,
                        GaussianTaps taps) {
  HWY_DYNAMIC_DISPATCH(gaussian_along_row)(sums, row, count, step, taps);
}

void gaussian_across_rows(uint8_t* const* results, const int16_t* const* rows, int64_t count,
                          GaussianTaps taps) {
  HWY_DYNAMIC_DISPATCH(gaussian_across_rows)(results, rows, count, taps);
}

}  // namespace kel::imageprocess
#endif
