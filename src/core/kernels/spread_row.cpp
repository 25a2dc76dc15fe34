#include "core/kernels/vector_targets.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "core/kernels/spread_row.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

#include <bit>
#include <cstring>

#include "core/kernels/spread_row.h"

HWY_BEFORE_NAMESPACE();
namespace kel::imageprocess::HWY_NAMESPACE {
namespace {

namespace hn = hwy::HWY_NAMESPACE;

using Bytes = hn::CappedTag<uint8_t, kSpreadChunk>;
using Vec = hn::Vec<Bytes>;

struct Larger {
  static constexpr uint8_t kNothing = 0;
  HWY_INLINE Vec operator()(Vec a, Vec b) const { return hn::Max(a, b); }
  static HWY_INLINE Vec weaker(Vec a, Vec b) { return hn::Min(a, b); }
};
struct Smaller {
  static constexpr uint8_t kNothing = 255;
  HWY_INLINE Vec operator()(Vec a, Vec b) const { return hn::Min(a, b); }
  static HWY_INLINE Vec weaker(Vec a, Vec b) { return hn::Max(a, b); }
};

// Pixels that do not stand out are no stronger than both of the others: what they exceed them by.
template <class Extreme>
HWY_INLINE Vec excess(const uint8_t* row, const uint8_t* a, const uint8_t* b, Extreme extreme) {
  const Bytes d;
  const auto weaker = Extreme::weaker(hn::LoadU(d, a), hn::LoadU(d, b));
  return hn::Xor(extreme(weaker, hn::LoadU(d, row)), weaker);
}

template <class Extreme>
uint64_t outstanding(uint8_t* to, const uint8_t* row, const uint8_t* a, const uint8_t* b,
                     int32_t chunks, Extreme extreme) {
  const Bytes d;
  const auto step = static_cast<int64_t>(hn::Lanes(d));
  const auto none = [&](int64_t from, int64_t end) {
    auto any = hn::Zero(d);
    for (int64_t x = from; x < end; x += step) {
      any = hn::Or(any, excess(row + x, a + x, b + x, extreme));
    }
    return hn::AllTrue(d, hn::Eq(any, hn::Zero(d)));
  };
  constexpr int32_t kAtOnce = 4;
  uint64_t occupied = 0;
  for (int32_t chunk = 0; chunk < chunks; ++chunk) {
    const int64_t first = int64_t{chunk} * kSpreadChunk;
    if (chunk % kAtOnce == 0 && chunk + kAtOnce <= chunks &&
        none(first, first + kAtOnce * kSpreadChunk)) {
      chunk += kAtOnce - 1;
      continue;
    }
    if (none(first, first + kSpreadChunk)) continue;
    occupied |= uint64_t{1} << chunk;
    for (int64_t x = first; x < first + kSpreadChunk; x += step) {
      const auto is_weak = hn::Eq(excess(row + x, a + x, b + x, extreme), hn::Zero(d));
      const auto nothing = hn::Set(d, Extreme::kNothing);
      hn::StoreU(hn::IfThenElse(is_weak, nothing, hn::LoadU(d, row + x)), d, to + x);
    }
  }
  return occupied;
}

// The chunks of tables that anything of level 0 gets into: entries reach up to 128 bytes to their
// right.
HWY_INLINE uint64_t touched(const RowSpread& row) {
  const uint64_t near = row.occupied | row.occupied >> 1;
  return row.levels <= 7 ? near : near | row.occupied >> 2;
}

// Calls visit(first byte) for each chunk of a set.
template <class Visit>
HWY_INLINE void for_each_chunk(uint64_t chunks, Visit visit) {
  for (; chunks != 0; chunks &= chunks - 1) visit(int64_t{std::countr_zero(chunks)} * kSpreadChunk);
}

// tables[p + 1][x] = extreme of tables[p][x] and tables[p][x + 2^p]
template <class Extreme>
HWY_INLINE void double_up(const RowSpread& row, Extreme extreme) {
  const Bytes d;
  const auto step = static_cast<int64_t>(hn::Lanes(d));
  for (int32_t level = 1; level < row.levels; ++level) {
    const uint8_t* from = row.tables + (level - 1) * row.stride;
    uint8_t* to = row.tables + level * row.stride;
    const int64_t half = int64_t{1} << (level - 1);
    for_each_chunk(touched(row), [&](int64_t first) {
      for (int64_t x = first; x < first + kSpreadChunk; x += step) {
        hn::StoreU(extreme(hn::LoadU(d, from + x), hn::LoadU(d, from + x + half)), d, to + x);
      }
    });
  }
}

template <class Extreme>
HWY_INLINE void clear(const RowSpread& row, Extreme /*extreme*/) {
  const Bytes d;
  const auto step = static_cast<int64_t>(hn::Lanes(d));
  for_each_chunk(touched(row), [&](int64_t first) {
    for (int32_t level = 0; level < row.levels; ++level) {
      uint8_t* to = row.tables + level * row.stride + first;
      for (int64_t x = 0; x < kSpreadChunk; x += step) {
        hn::StoreU(hn::Set(d, Extreme::kNothing), d, to + x);
      }
    }
  });
}

// The output chunks with an occupied chunk in one of their runs.
HWY_INLINE uint64_t reached(const RowSpread& row, const KernelRun& run) {
  const int32_t last = (run.second + (1 << run.level) + kSpreadChunk - 2) / kSpreadChunk;
  uint64_t chunks = 0;
  for (int32_t i = run.first / kSpreadChunk; i <= last; ++i) chunks |= row.occupied >> i;
  const int32_t count = (row.width + kSpreadChunk - 1) / kSpreadChunk;
  return chunks & ~uint64_t{0} >> (64 - count);
}

// One chunk of a run's output rows, of which the last chunk may be cut off.
template <class Extreme>
HWY_INLINE void update(uint8_t* const* target, uint8_t* const* end, int64_t x, int64_t count,
                       const uint8_t* first, const uint8_t* second, Extreme extreme) {
  const Bytes d;
  const auto step = static_cast<int64_t>(hn::Lanes(d));
  const bool is_part = count < kSpreadChunk;
  for (int64_t i = 0; i < kSpreadChunk; i += step) {
    const auto value = extreme(hn::LoadU(d, first + x + i), hn::LoadU(d, second + x + i));
    for (uint8_t* const* to = target; to != end; ++to) {
      if (*to == nullptr || i >= count) continue;
      uint8_t part[kSpreadChunk] = {};
      uint8_t* at = is_part ? part : *to + x + i;
      const auto left = static_cast<size_t>(count - i < step ? count - i : step);
      if (is_part) std::memcpy(part, *to + x + i, left);
      hn::StoreU(extreme(hn::LoadU(d, at), value), d, at);
      if (is_part) std::memcpy(*to + x + i, part, left);
    }
  }
}

template <class Extreme>
void spread_extremes(const RowSpread& row, Extreme extreme) {
  double_up(row, extreme);
  uint8_t* const* target = row.targets;
  for (const KernelRun* run = row.runs; run != row.runs + row.run_count; ++run) {
    const uint8_t* first = row.tables + run->level * row.stride + run->first;
    const uint8_t* second = first + (run->second - run->first);
    uint8_t* const* end = target + run->rows;
    while (target != end && *target == nullptr) ++target;
    if (target == end) continue;
    for_each_chunk(reached(row, *run), [&](int64_t x) {
      update(target, end, x, row.width - x, first, second, extreme);
    });
    target = end;
  }
  clear(row, extreme);
}

}  // namespace

uint64_t outstanding_pixels(uint8_t* to, const uint8_t* row, const uint8_t* a, const uint8_t* b,
                            int32_t chunks, bool maxima) {
  return maxima ? outstanding(to, row, a, b, chunks, Larger())
                : outstanding(to, row, a, b, chunks, Smaller());
}

void spread_row(const RowSpread& row, bool maxima) {
  maxima ? spread_extremes(row, Larger()) : spread_extremes(row, Smaller());
}

}  // namespace kel::imageprocess::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace kel::imageprocess {

HWY_EXPORT(outstanding_pixels);
HWY_EXPORT(spread_row);

uint64_t outstanding_pixels(uint8_t* to, const uint8_t* row, const uint8_t* a, const uint8_t* b,
                            int32_t chunks, bool maxima) {
  return HWY_DYNAMIC_DISPATCH(outstanding_pixels)(to, row, a, b, chunks, maxima);
}

void spread_row(const RowSpread& row, bool maxima) {
  HWY_DYNAMIC_DISPATCH(spread_row)(row, maxima);
}

}  // namespace kel::imageprocess
#endif
