#include "core/kernels/mean.h"

#include <bit>

#include "core/kernels/vector_targets.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "core/kernels/mean.cpp"
#include <hwy/foreach_target.h>
// After foreach_target.h
#include <hwy/highway.h>

HWY_BEFORE_NAMESPACE();
namespace kel::imageprocess::HWY_NAMESPACE {

#if HWY_TARGET == HWY_SCALAR || HWY_TARGET == HWY_EMU128  // no vectors

void slide_down(uint16_t* columns, uint16_t* sums, const uint8_t* const* entering,
                const uint8_t* const* leaving, int64_t count) {
  slide_down_plain(columns, sums, entering, leaving, count);
}
void mean_along(WindowSums& sums, const MeanAlong& job) { mean_along_plain(sums, job); }

#else

namespace hn = hwy::HWY_NAMESPACE;

using Words = hn::CappedTag<uint16_t, 16>;
using SignedWords = hn::RebindToSigned<Words>;
using Bytes = hn::Rebind<uint8_t, Words>;
using Longs = hn::RepartitionToWide<SignedWords>;
using Floats = hn::Rebind<float, Longs>;
using V = hn::Vec<Words>;
constexpr int kLanes = static_cast<int>(hn::MaxLanes(Words()));

HWY_INLINE V load_bytes(const uint8_t* from) {
  return hn::PromoteTo(Words(), hn::LoadU(Bytes(), from));
}

// The blocks of a vector are half a column each.
template <typename Vector>
HWY_INLINE void store_columns(uint16_t* columns, Vector v) {
  const hn::Full128<uint16_t> d;
  if constexpr (kLanes == 8) {
    hn::StoreU(v, d, columns);
  } else {
    hn::StoreU(hn::LowerHalf(d, v), d, columns);
    hn::StoreU(hn::UpperHalf(d, v), d, columns + 8 * kMeanRows);
  }
}

// Eight rows become columns: interleaving the first half of the vectors with the second turns
// blocks of 8 x 8 in three rounds.
HWY_INLINE void store_turned(uint16_t* columns, V (&rows)[8]) {
  const Words d;
  for (int round = 0; round < 3; ++round) {
    V woven[8];
    HWY_UNROLL(4)
    for (int i = 0; i < 4; ++i) {
      woven[2 * i] = hn::InterleaveLower(d, rows[i], rows[i + 4]);
      woven[2 * i + 1] = hn::InterleaveUpper(d, rows[i], rows[i + 4]);
    }
    HWY_UNROLL(8)
    for (int i = 0; i < 8; ++i) rows[i] = woven[i];
  }
  HWY_UNROLL(8)
  for (int i = 0; i < 8; ++i) store_columns(columns + i * kMeanRows, rows[i]);
}

void slide_down(uint16_t* columns, uint16_t* sums, const uint8_t* const* entering,
                const uint8_t* const* leaving, int64_t count) {
  const Words d;
  const int64_t whole = count / kLanes * kLanes;
  for (int half = 0; half < kMeanRows; half += 8) {
    const uint8_t* in[8];
    const uint8_t* out[8];
    for (int i = 0; i < 8; ++i) {
      in[i] = entering[half + i];
      out[i] = leaving[half + i];
    }
    for (int64_t x = 0; x < whole; x += kLanes) {
      V rows[8];
      V sum = hn::LoadU(d, sums + x);
      HWY_UNROLL(8)
      for (int i = 0; i < 8; ++i) {
        sum = hn::Add(sum, hn::Sub(load_bytes(in[i] + x), load_bytes(out[i] + x)));
        rows[i] = sum;
      }
      hn::StoreU(sum, d, sums + x);
      store_turned(columns + x * kMeanRows + half, rows);
    }
  }
  if (whole == count) return;
  const uint8_t* in[kMeanRows];
  const uint8_t* out[kMeanRows];
  for (int i = 0; i < kMeanRows; ++i) {
    in[i] = entering[i] + whole;
    out[i] = leaving[i] + whole;
  }
  slide_down_plain(columns + whole * kMeanRows, sums + whole, in, out, count - whole);
}

// Sums of up to 16 bits and their quotients.
class SmallSum {
 public:
  // Implicit constructors do not get the instruction set, which GCC minds.
  HWY_INLINE SmallSum() = default;
  HWY_INLINE void load(const WindowSums& sums, int at) {
    sum_ = hn::LoadU(Words(), sums.small + at);
  }
  HWY_INLINE void store(WindowSums& sums, int at) const {
    hn::StoreU(sum_, Words(), sums.small + at);
  }
  HWY_INLINE void slide(V entering, V leaving) { sum_ = hn::Add(sum_, hn::Sub(entering, leaving)); }

  // (sum + area / 2) * factor >> 16 + bits is the quotient for all sums of such windows.
  class Divisor {
   public:
    explicit HWY_INLINE Divisor(int32_t ksize) {
      const Words d;
      const auto area = static_cast<uint32_t>(ksize * ksize);
      const auto bits = std::bit_width(area) - 1;
      half_ = hn::Set(d, static_cast<uint16_t>(area / 2));
      factor_ = hn::Set(d, static_cast<uint16_t>((65536U << bits) / area + 1));
      shift_ = hn::Set(d, static_cast<uint16_t>(65536U >> bits));
    }
    template <bool kExact>
    HWY_INLINE V divide(const SmallSum& by) const {
      return hn::MulHigh(hn::MulHigh(hn::Add(by.sum_, half_), factor_), shift_);
    }

   private:
    V half_;
    V factor_;
    V shift_;
  };

 private:
  V sum_;
};

// Larger sums, as whole numbers in single precision. Words become floats as the low bits of 2^23
// and more; the order of lanes is the one that ReorderDemote2To undoes. Up to kernel
// 163 all sums have been tried: fused operations give the same means.
template <bool kFused>
class LargeSum {
 public:
  HWY_INLINE LargeSum() = default;
  HWY_INLINE void load(const WindowSums& sums, int at) {
    low_ = hn::LoadU(Floats(), sums.large + at);
    high_ = hn::LoadU(Floats(), sums.large + at + kLanes / 2);
  }
  HWY_INLINE void store(WindowSums& sums, int at) const {
    hn::StoreU(low_, Floats(), sums.large + at);
    hn::StoreU(high_, Floats(), sums.large + at + kLanes / 2);
  }
  HWY_INLINE void slide(V entering, V leaving) {
    const Words d;
    const Floats df;
    const auto exponent = hn::Set(d, 0x4B00);
    low_ = hn::Add(low_, hn::Sub(hn::BitCast(df, hn::InterleaveLower(d, entering, exponent)),
                                 hn::BitCast(df, hn::InterleaveLower(d, leaving, exponent))));
    high_ = hn::Add(high_, hn::Sub(hn::BitCast(df, hn::InterleaveUpper(d, entering, exponent)),
                                   hn::BitCast(df, hn::InterleaveUpper(d, leaving, exponent))));
  }

  class Divisor {
   public:
    explicit HWY_INLINE Divisor(int32_t ksize) {
      area_ = hn::Set(Floats(), static_cast<float>(ksize * ksize));
      factor_ = hn::Set(Floats(), 1.0F / static_cast<float>(ksize * ksize));
    }
    template <bool kExact>
    HWY_INLINE V divide(const LargeSum& sum) const {
      const auto mean =
          hn::ReorderDemote2To(SignedWords(), divide<kExact>(sum.low_), divide<kExact>(sum.high_));
      return hn::BitCast(Words(), mean);
    }

   private:
    template <bool kExact>
    HWY_INLINE hn::Vec<Longs> divide(hn::Vec<Floats> sum) const {
      const Floats d;
      const auto whole = hn::Set(d, 12582912.0F);  // 2^23 * 1.5 rounds what it is added to
      auto mean = kFused ? hn::MulAdd(sum, factor_, whole) : hn::Add(hn::Mul(sum, factor_), whole);
      if constexpr (kExact) {
        // The area is odd, so that no quotient is a half.
        const auto one = hn::Set(d, 1.0F);
        const auto half = hn::Mul(area_, hn::Set(d, 0.5F));
        const auto rest = hn::Sub(sum, hn::Mul(hn::Sub(mean, whole), area_));
        mean = hn::Add(mean, hn::IfThenElseZero(hn::Gt(rest, half), one));
        mean = hn::Sub(mean, hn::IfThenElseZero(hn::Lt(rest, hn::Neg(half)), one));
      }
      return hn::Xor(hn::BitCast(Longs(), mean), hn::BitCast(Longs(), whole));
    }

    hn::Vec<Floats> area_;
    hn::Vec<Floats> factor_;
  };

 private:
  hn::Vec<Floats> low_;
  hn::Vec<Floats> high_;
};

// Means of the rows that one vector holds, two pixels at a time.
template <int kStep, typename Sum>
class PartMeans {
 public:
  HWY_INLINE PartMeans(const MeanAlong& job, int first_row)
      : divisor_(job.ksize), job_(job), first_row_(first_row) {}

  HWY_INLINE void run(WindowSums& sums) {
    Sum windows[kStep];
    for (int c = 0; c < kStep; ++c) windows[c].load(sums, c * kMeanRows + first_row_);
    const int64_t end = (job_.pixels + 1) / 2 * 2 * kStep;
    const int64_t single = HWY_MIN(HWY_MAX(job_.single, 0) / (2 * kStep) * (2 * kStep), end);
    for (int64_t x = 0; x < single; x += 2 * kStep) two_pixels<false>(windows, x);
    for (int64_t x = single; x < end; x += 2 * kStep) two_pixels<true>(windows, x);
    for (int c = 0; c < kStep; ++c) windows[c].store(sums, c * kMeanRows + first_row_);
  }

 private:
  template <bool kMixed>
  HWY_INLINE void two_pixels(Sum (&windows)[kStep], int64_t x) const {
    [[maybe_unused]] const Words d;
    HWY_UNROLL(3)
    for (int pair = 0; pair < kStep; ++pair) {
      const V even = next<kMixed>(windows[2 * pair % kStep], x + 2 * pair);
      const V odd = next<kMixed>(windows[(2 * pair + 1) % kStep], x + 2 * pair + 1);
      const V both = hn::Or(even, hn::ShiftLeft<8>(odd));
      uint8_t* to = job_.means[x / 2 + pair][first_row_];
      hn::StoreU(hn::BitCast(hn::Repartition<uint8_t, Words>(), both),
                 hn::Repartition<uint8_t, Words>(), to);
    }
  }

  template <bool kMixed>
  HWY_INLINE V next(Sum& window, int64_t x) const {
    const Words d;
    const uint16_t* column = job_.columns + x * kMeanRows + first_row_;
    const int64_t back = int64_t{job_.ksize} * kStep * kMeanRows;
    window.slide(hn::LoadU(d, column), hn::LoadU(d, column - back));
    if (kMixed && x >= job_.single) return divisor_.template divide<true>(window);
    return divisor_.template divide<false>(window);
  }

  typename Sum::Divisor divisor_;
  const MeanAlong job_;
  const int first_row_;
};

template <int kStep, typename Sum>
HWY_INLINE void means_of_parts(WindowSums& sums, const MeanAlong& job) {
  for (int row = 0; row < kMeanRows; row += kLanes) PartMeans<kStep, Sum>(job, row).run(sums);
}

template <int kStep>
HWY_INLINE void means_of_rows(WindowSums& sums, const MeanAlong& job) {
  constexpr int32_t kLargestFused = 163;
  if (job.ksize <= kLargestSmallMean) {
    means_of_parts<kStep, SmallSum>(sums, job);
  } else if (job.ksize <= kLargestFused) {
    means_of_parts<kStep, LargeSum<true> >(sums, job);
  } else {
    means_of_parts<kStep, LargeSum<false> >(sums, job);
  }
}

void mean_along(WindowSums& sums, const MeanAlong& job) {
  job.step == 1 ? means_of_rows<1>(sums, job) : means_of_rows<3>(sums, job);
}

#endif

}  // namespace kel::imageprocess::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace kel::imageprocess {

HWY_EXPORT(slide_down);
HWY_EXPORT(mean_along);

void slide_down(uint16_t* columns, uint16_t* sums, const uint8_t* const* entering,
                const uint8_t* const* leaving, int64_t count) {
  HWY_DYNAMIC_DISPATCH(slide_down)(columns, sums, entering, leaving, count);
}

void mean_along(WindowSums& sums, const MeanAlong& job) {
  HWY_DYNAMIC_DISPATCH(mean_along)(sums, job);
}

}  // namespace kel::imageprocess
#endif
