#include "core/kernels/gaussian_small.h"

#include <bit>
#include <cstdlib>

#include "core/kernels/vector_targets.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "core/kernels/gaussian_small.cpp"
#include <hwy/foreach_target.h>
// After foreach_target.h
#include <hwy/cache_control.h>
#include <hwy/highway.h>

#include "core/kernels/gaussian-inl.h"

HWY_BEFORE_NAMESPACE();
namespace kel::imageprocess::HWY_NAMESPACE {

#if HWY_TARGET == HWY_SCALAR || HWY_TARGET == HWY_EMU128  // no vectors

void gaussian_small(const SmallGaussian& job) { gaussian_small_plain(job); }

#else

// Taps over their common divisor, a power of two: they add up to 1 << bits.
struct ReducedTaps {
  uint16_t taps[kMostSmallRadius + 1] = {};
  int32_t radius;
  int bits;

  explicit HWY_INLINE ReducedTaps(GaussianTaps from) : radius(from.radius) {
    uint32_t all = 128;
    for (int32_t i = 0; i <= radius; ++i) all |= from.taps[i];
    bits = 8 - std::countr_zero(all);
    for (int32_t i = 0; i <= radius; ++i) {
      taps[i] = static_cast<uint16_t>(from.taps[i] >> (8 - bits));
    }
  }
};

// How sums of columns are summed along rows.
enum class RowSums {
  kShort,   // in 16 bits
  kFolded,  // in 32 bits, those to the left and right of the middle added beforehand in 16
  kLong     // in 32 bits, each less half its range
};

struct Plan {
  ReducedTaps across;
  ReducedTaps along;
  RowSums kind;
  uint16_t offset;                           // of sums of columns: half a unit of the result
  int bits;                                  // that the result is above the lowest one of the sums
  int32_t pairs[kMostSmallRadius + 1] = {};  // of taps along rows, in the order of their use

  explicit HWY_INLINE Plan(const SmallGaussian& job) : across(job.across), along(job.along) {
    bits = across.bits + along.bits;
    kind = bits <= 8 ? RowSums::kShort : across.bits <= 6 ? RowSums::kFolded : RowSums::kLong;
    if (kind == RowSums::kLong) {
      for (uint16_t& tap : across.taps) tap = static_cast<uint16_t>(tap << (8 - across.bits));
      bits = 8 + along.bits;
    }
    const int half = 1 << (bits - along.bits - 1);
    offset = static_cast<uint16_t>(kind == RowSums::kLong ? half - 32768 : half);
    const int32_t radius = along.radius;
    const auto tap = [&](int32_t i) -> uint32_t {
      const int32_t at = kind == RowSums::kFolded ? i : std::abs(i - radius);
      return at > radius ? 0 : along.taps[at];
    };
    for (int32_t i = 0; i <= radius; ++i) {
      pairs[i] = static_cast<int32_t>(tap(2 * i) | tap(2 * i + 1) << 16);
    }
  }
};

// Of all rows of results, around a chunk of each.
struct ColumnSums {
  static constexpr int64_t kChunk = 1024;
  static constexpr int64_t kLead = 64;  // before the chunk's first column, for alignment
  alignas(64) uint16_t row[kGaussianRows][kChunk + 3 * kLead];
};

// Taps are spread over vectors once for a chunk.
template <int kRadius>
class ColumnSummer {
 public:
  explicit HWY_INLINE ColumnSummer(const Plan& plan) : offset_(hn::Set(Words(), plan.offset)) {
    for (int i = 0; i <= kRadius; ++i) taps_[i] = hn::Set(Words(), plan.across.taps[i]);
  }

  HWY_INLINE void sum(ColumnSums& sums, const uint8_t* const* from, int64_t x, int64_t at) const {
    const Words d;
    hn::Vec<Words> rows[2 * kRadius + kGaussianRows];
    HWY_UNROLL(10)
    for (int i = 0; i < 2 * kRadius + kGaussianRows; ++i) {
      rows[i] = hn::PromoteTo(d, hn::LoadU(Bytes(), from[i] + x));
    }
    HWY_UNROLL(4)
    for (int y = 0; y < kGaussianRows; ++y) {
      const auto* const middle = rows + y + kRadius;
      auto sum = hn::Add(offset_, hn::Mul(taps_[0], *middle));
      HWY_UNROLL(3)
      for (int i = 1; i <= kRadius; ++i) {
        sum = hn::Add(sum, hn::Mul(taps_[i], hn::Add(middle[-i], middle[i])));
      }
      hn::StoreU(sum, d, sums.row[y] + at);
    }
  }

 private:
  hn::Vec<Words> offset_;
  hn::Vec<Words> taps_[kRadius + 1];
};

template <int kRadius>
class ShortSums {
 public:
  explicit HWY_INLINE ShortSums(const Plan& plan) : bits_(plan.bits) {
    for (int i = 0; i <= kRadius; ++i) taps_[i] = hn::Set(Words(), plan.along.taps[i]);
  }

  HWY_INLINE hn::Vec<SignedWords> sum(const uint16_t* middle, int64_t step) const {
    const Words d;
    auto sum = hn::Mul(taps_[0], hn::LoadU(d, middle));
    HWY_UNROLL(3)
    for (int i = 1; i <= kRadius; ++i) {
      const auto both = hn::Add(hn::LoadU(d, middle - i * step), hn::LoadU(d, middle + i * step));
      sum = hn::Add(sum, hn::Mul(taps_[i], both));
    }
    return hn::BitCast(SignedWords(), hn::ShiftRightSame(sum, bits_));
  }

 private:
  int bits_;
  hn::Vec<Words> taps_[kRadius + 1];
};

// Terms, with a zero behind them, two at a time.
template <int kTerms>
class SumsOfPairs {
 public:
  HWY_INLINE SumsOfPairs(const Plan& plan, int32_t start)
      : bits_(plan.bits), start_(hn::Set(Sums(), start)) {
    for (int i = 0; i < kTerms; i += 2) {
      taps_[i / 2] = hn::BitCast(SignedWords(), hn::Set(Sums(), plan.pairs[i / 2]));
    }
  }

  HWY_INLINE hn::Vec<SignedWords> sum(const hn::Vec<SignedWords>* terms) const {
    const SignedWords d;
    auto low = start_;
    auto high = start_;
    HWY_UNROLL(4)
    for (int i = 0; i < kTerms; i += 2) {
      low = add_products(low, hn::InterleaveLower(d, terms[i], terms[i + 1]), taps_[i / 2]);
      high = add_products(high, hn::InterleaveUpper(d, terms[i], terms[i + 1]), taps_[i / 2]);
    }
    return hn::ReorderDemote2To(d, hn::ShiftRightSame(low, bits_), hn::ShiftRightSame(high, bits_));
  }

 private:
  int bits_;
  hn::Vec<Sums> start_;
  hn::Vec<SignedWords> taps_[(kTerms + 1) / 2];
};

template <int kRadius>
class FoldedSums {
 public:
  explicit HWY_INLINE FoldedSums(const Plan& plan) : pairs_(plan, 0) {}

  HWY_INLINE hn::Vec<SignedWords> sum(const uint16_t* middle, int64_t step) const {
    const SignedWords d;
    const auto* const from = reinterpret_cast<const int16_t*>(middle);
    hn::Vec<SignedWords> terms[kRadius + 2];
    terms[0] = hn::LoadU(d, from);
    HWY_UNROLL(3)
    for (int i = 1; i <= kRadius; ++i) {
      terms[i] = hn::Add(hn::LoadU(d, from - i * step), hn::LoadU(d, from + i * step));
    }
    terms[kRadius + 1] = hn::Zero(d);
    return pairs_.sum(terms);
  }

 private:
  SumsOfPairs<kRadius + 1> pairs_;
};

template <int kRadius>
class LongSums {
 public:
  explicit HWY_INLINE LongSums(const Plan& plan) : pairs_(plan, 32768 << plan.along.bits) {}

  HWY_INLINE hn::Vec<SignedWords> sum(const uint16_t* middle, int64_t step) const {
    const SignedWords d;
    const auto* const from = reinterpret_cast<const int16_t*>(middle);
    hn::Vec<SignedWords> terms[2 * kRadius + 2];
    HWY_UNROLL(7)
    for (int i = -kRadius; i <= kRadius; ++i) terms[kRadius + i] = hn::LoadU(d, from + i * step);
    terms[2 * kRadius + 1] = hn::Zero(d);
    return pairs_.sum(terms);
  }

 private:
  SumsOfPairs<2 * kRadius + 1> pairs_;
};

template <class Sums>
HWY_INLINE void sum_row(uint8_t* result, const uint16_t* from, int64_t count, int step,
                        const Plan& plan) {
  const Sums sums(plan);
  for (int64_t x = 0; x < count; x += kLanes) {
    const int64_t at = HWY_MIN(x, count - kLanes);  // the last vector ends with the row
    hn::StoreU(hn::DemoteTo(Bytes(), sums.sum(from + at, step)), Bytes(), result + at);
  }
}

template <int kRadius>
void sum_row_of_kind(uint8_t* result, const uint16_t* from, int64_t count, int step,
                     const Plan& plan) {
  if (plan.kind == RowSums::kShort) {
    sum_row<ShortSums<kRadius> >(result, from, count, step, plan);
  } else if (plan.kind == RowSums::kFolded) {
    sum_row<FoldedSums<kRadius> >(result, from, count, step, plan);
  } else {
    sum_row<LongSums<kRadius> >(result, from, count, step, plan);
  }
}

// Columns missing beyond a side of the image, whose outermost pixel is at `first`.
HWY_INLINE void mirror(uint16_t* first, int64_t missing, int64_t step, int64_t outwards) {
  for (int64_t i = 1; i <= missing; ++i) {
    for (int64_t c = 0; c < step; ++c) {
      first[outwards * i * step + c] = first[-outwards * i * step + c];
    }
  }
}

template <int kRadius>
void sum_all_columns(ColumnSums& sums, const SmallGaussian& job, const Plan& plan, int64_t left,
                     int64_t chunk) {
  const int64_t reach = int64_t{plan.along.radius} * job.step;
  const int64_t first = HWY_MAX(left - reach, -job.before);
  const int64_t end = HWY_MIN(left + chunk + reach, job.count + job.after);
  const int64_t origin = left - ColumnSums::kLead;
  const ColumnSummer<kRadius> summer(plan);
  for (int64_t x = first; x < end; x += kLanes) {
    const int64_t from = HWY_MIN(x, end - kLanes);
    const int64_t ahead = HWY_MIN(from + ColumnSums::kChunk, job.count - 1);
    for (int y = 0; y < kGaussianRows; ++y) hwy::Prefetch(job.rows[2 * kRadius + y] + ahead);
    summer.sum(sums, job.rows, from, from - origin);
  }
  const int64_t last = end - job.step;
  for (auto& row : sums.row) {
    // The last chunk may begin within a pixel.
    mirror(row + (first - origin), (first - left + reach + job.step - 1) / job.step, job.step, -1);
    mirror(row + (last - origin), (left + chunk + reach - end) / job.step, job.step, 1);
  }
}

void gaussian_small(const SmallGaussian& job) {
  static constexpr decltype(&sum_all_columns<0>) kSumColumns[] = {
      sum_all_columns<0>, sum_all_columns<1>, sum_all_columns<2>, sum_all_columns<3>};
  static constexpr decltype(&sum_row_of_kind<0>) kSumRow[] = {
      sum_row_of_kind<0>, sum_row_of_kind<1>, sum_row_of_kind<2>, sum_row_of_kind<3>};
  const Plan plan(job);
  ColumnSums sums;
  for (int64_t next = 0; next < job.count; next += ColumnSums::kChunk) {
    const int64_t chunk = HWY_MIN(ColumnSums::kChunk, job.count);
    const int64_t left = HWY_MIN(next, job.count - chunk);
    kSumColumns[plan.across.radius](sums, job, plan, left, chunk);
    for (int y = 0; y < kGaussianRows; ++y) {
      if (job.results[y] == nullptr) continue;
      kSumRow[plan.along.radius](job.results[y] + left, sums.row[y] + ColumnSums::kLead, chunk,
                                 job.step, plan);
    }
  }
}

#endif

}  // namespace kel::imageprocess::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace kel::imageprocess {

HWY_EXPORT(gaussian_small);

void gaussian_small(const SmallGaussian& job) { HWY_DYNAMIC_DISPATCH(gaussian_small)(job); }

}  // namespace kel::imageprocess
#endif
