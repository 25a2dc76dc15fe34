#include "core/kernels/vector_targets.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "core/kernels/spread_ellipse.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

#include "core/kernels/spread_ellipse.h"

HWY_BEFORE_NAMESPACE();
namespace kel::imageprocess::HWY_NAMESPACE {

#if HWY_TARGET == HWY_SCALAR || HWY_TARGET == HWY_EMU128  // no vectors

void spread_ellipse(const EllipseSpread& job, bool maxima) { spread_ellipse_plain(job, maxima); }

#else

namespace {

namespace hn = hwy::HWY_NAMESPACE;

using D = hn::CappedTag<uint8_t, kSpreadColumns>;
constexpr auto kStep = static_cast<int64_t>(hn::MaxLanes(D()));
constexpr int32_t kMostRuns = kLargestSmallEllipse / 2 + 1;

struct Larger {
  HWY_INLINE hn::Vec<D> operator()(hn::Vec<D> a, hn::Vec<D> b) const { return hn::Max(a, b); }
};
struct Smaller {
  HWY_INLINE hn::Vec<D> operator()(hn::Vec<D> a, hn::Vec<D> b) const { return hn::Min(a, b); }
};

// The order in which a row's neighbours join its extremes: each run is the one before and some
// pixels on both sides.
struct Steps {
  int64_t offsets[kLargestSmallEllipse];
  int32_t ends[kMostRuns];  // of each run
  int32_t runs;

  explicit HWY_INLINE Steps(const EllipseSpread& job) : runs(job.run_count) {
    int32_t begin = job.runs[0].first;
    int32_t end = begin;
    int32_t count = 0;
    for (int32_t i = 0; i < runs; ++i) {
      const PixelRun run = job.runs[i];
      while (begin > run.first) offsets[count++] = --begin;
      while (end < run.first + run.length) offsets[count++] = end++;
      ends[i] = count;
    }
  }
};

template <class Extreme>
HWY_INLINE void spread_along(uint8_t* HWY_RESTRICT to, const uint8_t* row, const Steps& steps,
                             Extreme extreme) {
  const D d;
  for (int64_t x = 0; x < kSpreadColumns; x += kStep) {
    const uint8_t* const from = row + x;
    auto value = hn::LoadU(d, from + steps.offsets[0]);
    int32_t k = 1;
    for (int32_t i = 0; i < steps.runs; ++i) {
      for (; k < steps.ends[i]; ++k) value = extreme(value, hn::LoadU(d, from + steps.offsets[k]));
      hn::Store(value, d, to + i * kSpreadColumns + x);
    }
  }
}

template <class Extreme>
void spread_both_ways(const EllipseSpread& job, Extreme extreme) {
  constexpr int64_t kMostKept = kSpreadRows + kLargestSmallEllipse - 1;  // rows
  alignas(64) uint8_t kept[kMostKept * kMostRuns * kSpreadColumns];
  const int64_t pitch = job.run_count * kSpreadColumns;
  const Steps steps(job);
  const int32_t side = job.side;
  const int32_t count = job.count;
  for (int32_t y = 0; y < count + side - 1; ++y) {
    spread_along(kept + y * pitch, job.rows[y], steps, extreme);
  }
  const D d;
  int64_t from[kLargestSmallEllipse];
  for (int32_t i = 0; i < side; ++i) from[i] = i * pitch + job.run_of_row[i] * kSpreadColumns;
  for (int32_t y = 0; y < count; ++y) {
    const uint8_t* const rows = kept + y * pitch;
    for (int64_t x = 0; x < kSpreadColumns; x += kStep) {
      auto value = hn::Load(d, rows + from[0] + x);
      for (int32_t i = 1; i < side; ++i) value = extreme(value, hn::Load(d, rows + from[i] + x));
      hn::StoreU(value, d, job.results[y] + x);
    }
  }
}

}  // namespace

void spread_ellipse(const EllipseSpread& job, bool maxima) {
  maxima ? spread_both_ways(job, Larger()) : spread_both_ways(job, Smaller());
}

#endif

}  // namespace kel::imageprocess::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace kel::imageprocess {

HWY_EXPORT(spread_ellipse);

void spread_ellipse(const EllipseSpread& job, bool maxima) {
  HWY_DYNAMIC_DISPATCH(spread_ellipse)(job, maxima);
}

}  // namespace kel::imageprocess
#endif
