#include "core/kernels/vector_targets.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "core/kernels/spread_bits.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

#include "core/kernels/spread_bits.h"

HWY_BEFORE_NAMESPACE();
namespace kel::imageprocess::HWY_NAMESPACE {

#if HWY_TARGET == HWY_SCALAR || HWY_TARGET == HWY_EMU128  // no vectors

void spread_bits(uint64_t* const* to, const uint64_t* row, int64_t words, const BitRun* runs,
                 int32_t count, uint64_t* scratch) {
  spread_bits_plain(to, row, words, runs, count, scratch);
}

void join_bits(uint64_t* to, const uint64_t* const* rows, int32_t count, int64_t words) {
  join_bits_plain(to, rows, count, words);
}

#else

namespace {

namespace hn = hwy::HWY_NAMESPACE;

using D = hn::CappedTag<uint64_t, 8>;
constexpr auto kStep = static_cast<int64_t>(hn::MaxLanes(D()));

// The words whose first bit is that of `pixel`, -64 < pixel < 64.
HWY_INLINE hn::Vec<D> load(const uint64_t* words, int32_t pixel) {
  const D d;
  const uint64_t* const at = words + (pixel < 0 ? -1 : 0);
  const int shift = pixel & 63;
  if (shift == 0) return hn::LoadU(d, at);
  return hn::Or(hn::ShiftRightSame(hn::LoadU(d, at), shift),
                hn::ShiftLeftSame(hn::LoadU(d, at + 1), 64 - shift));
}

}  // namespace

// Unions of one, two, four pixels are doubled up; two of those that overlap make a run.
void spread_bits(uint64_t* const* to, const uint64_t* row, int64_t words, const BitRun* runs,
                 int32_t count, uint64_t* scratch) {
  const D d;
  const int64_t pitch = words + kBitsBefore + kBitsBehind;
  const uint64_t* levels[kBitLevels + 1] = {row};
  int32_t made = 0;
  for (int32_t i = 0; i < count; ++i) {
    int32_t level = 0;
    while (2 << level <= runs[i].length) ++level;
    for (; made < level; ++made) {
      uint64_t* const next = scratch + pitch * made + kBitsBefore;
      for (int64_t word = -1; word < words; word += kStep) {
        const auto both =
            hn::Or(hn::LoadU(d, levels[made] + word), load(levels[made] + word, 1 << made));
        hn::StoreU(both, d, next + word);
      }
      levels[made + 1] = next;
    }
    const int32_t second = runs[i].first + runs[i].length - (1 << level);
    for (int64_t word = 0; word < words; word += kStep) {
      const uint64_t* const from = levels[level] + word;
      hn::StoreU(hn::Or(load(from, runs[i].first), load(from, second)), d, to[i] + word);
    }
  }
}

void join_bits(uint64_t* to, const uint64_t* const* rows, int32_t count, int64_t words) {
  const D d;
  for (int64_t word = 0; word < words; word += kStep) {
    auto any = hn::Zero(d);
    for (int32_t i = 0; i < count; ++i) any = hn::Or(any, hn::LoadU(d, rows[i] + word));
    hn::StoreU(any, d, to + word);
  }
}

#endif

}  // namespace kel::imageprocess::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace kel::imageprocess {

HWY_EXPORT(spread_bits);
HWY_EXPORT(join_bits);

void spread_bits(uint64_t* const* to, const uint64_t* row, int64_t words, const BitRun* runs,
                 int32_t count, uint64_t* scratch) {
  HWY_DYNAMIC_DISPATCH(spread_bits)(to, row, words, runs, count, scratch);
}

void join_bits(uint64_t* to, const uint64_t* const* rows, int32_t count, int64_t words) {
  HWY_DYNAMIC_DISPATCH(join_bits)(to, rows, count, words);
}

}  // namespace kel::imageprocess
#endif
