#include "core/kernels/vector_targets.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "core/kernels/spread_row.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

#include "core/kernels/spread_row.h"

HWY_BEFORE_NAMESPACE();
namespace kel::imageprocess::HWY_NAMESPACE {
namespace {

namespace hn = hwy::HWY_NAMESPACE;

using Bytes = hn::CappedTag<uint8_t, 64>;
using Vec = hn::Vec<Bytes>;

struct Larger {
  HWY_INLINE Vec operator()(Vec a, Vec b) const { return hn::Max(a, b); }
};
struct Smaller {
  HWY_INLINE Vec operator()(Vec a, Vec b) const { return hn::Min(a, b); }
};

// tables[p + 1][x] = extreme of tables[p][x] and tables[p][x + 2^p]
template <class Extreme>
void double_up(const RowSpread& row, Extreme extreme) {
  const Bytes d;
  const auto step = static_cast<int64_t>(hn::Lanes(d));
  for (int32_t level = 1; level < row.levels; ++level) {
    const uint8_t* from = row.tables + (level - 1) * row.stride;
    uint8_t* to = row.tables + level * row.stride;
    const int64_t half = int64_t{1} << (level - 1);
    for (int64_t x = 0; x + half + step <= row.stride; x += step) {
      hn::StoreU(extreme(hn::LoadU(d, from + x), hn::LoadU(d, from + x + half)), d, to + x);
    }
  }
}

template <class Extreme>
void spread_extremes(const RowSpread& row, Extreme extreme) {
  const Bytes d;
  const auto step = static_cast<int64_t>(hn::Lanes(d));
  double_up(row, extreme);
  uint8_t* const* target = row.targets;
  for (const KernelRun* run = row.runs; run != row.runs + row.run_count; ++run) {
    const uint8_t* first = row.tables + run->level * row.stride + run->first;
    const uint8_t* second = row.tables + run->level * row.stride + run->second;
    for (int32_t i = 0; i < run->rows; i += 2, target += 2) {
      if (target[0] == nullptr && target[1] == nullptr) continue;
      uint8_t* upper = target[0] != nullptr ? target[0] : row.unused;
      uint8_t* lower = target[1] != nullptr ? target[1] : row.unused;
      for (int64_t x = 0; x < row.width; x += step) {
        const Vec value = extreme(hn::LoadU(d, first + x), hn::LoadU(d, second + x));
        hn::Store(extreme(hn::Load(d, upper + x), value), d, upper + x);
        hn::Store(extreme(hn::Load(d, lower + x), value), d, lower + x);
      }
    }
  }
}

}  // namespace

void spread_row(const RowSpread& row, bool maxima) {
  maxima ? spread_extremes(row, Larger()) : spread_extremes(row, Smaller());
}

}  // namespace kel::imageprocess::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace kel::imageprocess {

HWY_EXPORT(spread_row);

void spread_row(const RowSpread& row, bool maxima) {
  HWY_DYNAMIC_DISPATCH(spread_row)(row, maxima);
}

}  // namespace kel::imageprocess
#endif
