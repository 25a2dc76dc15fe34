#include "core/kernels/vector_targets.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "core/kernels/median_run_by_histograms.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

#include <cstring>

#include "core/kernels/median_run_by_histograms.h"

HWY_BEFORE_NAMESPACE();
namespace kel::imageprocess::HWY_NAMESPACE {
namespace {

namespace hn = hwy::HWY_NAMESPACE;

using Counts = hn::CappedTag<uint16_t, 16>;
using Column = hn::CappedTag<uint8_t, 16>;

// What a pixel adds to sixteen cumulative counts is 1 from its digit on: the bytes that start
// `digit` places before the first 1.
alignas(32) constexpr uint8_t kSteps[32] = {0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 1,
                                            1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1};

// Adds a pixel to a column (Sign 1) or removes it.
template <int Sign>
HWY_INLINE void count_pixel(const ColumnHistograms& all, int64_t column, uint8_t value) {
  const Column d;
  const auto count = [&d](uint8_t* to, int digit) {
    for (size_t i = 0; i < 16; i += hn::Lanes(d)) {
      const auto step = hn::LoadU(d, kSteps + 15 - digit + i);
      const auto old = hn::LoadU(d, to + i);
      hn::StoreU(Sign > 0 ? hn::Add(old, step) : hn::Sub(old, step), d, to + i);
    }
  };
  count(all.groups + 16 * column, value >> 4);
  count(all.values + 16 * ((value >> 4) * int64_t{all.columns} + column), value & 15);
}

HWY_INLINE int64_t clamp_to(int64_t at, int64_t end) {
  return at < 0 ? 0 : at < end ? at : end - 1;
}

// Counts a column around row y afresh.
void restart_column(const ColumnHistograms& all, int64_t column, int32_t y) {
  const int64_t x = clamp_to(all.left + column, all.src->row_bytes);
  std::memset(all.groups + 16 * column, 0, 16);
  for (int64_t group = 0; group < 16; ++group) {
    std::memset(all.values + 16 * (group * all.columns + column), 0, 16);
  }
  for (int32_t i = -all.radius; i <= all.radius; ++i) {
    count_pixel<1>(all, column, all.row(y + i)[x]);
  }
  all.centre[column] = y;
}

// Moves those of the columns [first, last] down to row `to` that are one row above it.
HWY_INLINE void move_columns(const ColumnHistograms& all, int64_t first, int64_t last, int32_t to) {
  const uint8_t* leaving_row = all.row(to - 1 - all.radius);
  const uint8_t* entering_row = all.row(to + all.radius);
  for (int64_t column = first; column <= last; ++column) {
    if (all.centre[column] != to - 1) continue;
    all.centre[column] = to;
    const int64_t x = clamp_to(all.left + column, all.src->row_bytes);
    const uint8_t leaving = leaving_row[x];
    const uint8_t entering = entering_row[x];
    if (leaving == entering) continue;
    count_pixel<-1>(all, column, leaving);
    count_pixel<1>(all, column, entering);
  }
}

// Brings columns [first, last] up to date for the windows of row y.
void update_columns(const ColumnHistograms& all, int64_t first, int64_t last, int32_t y) {
  int32_t oldest = y;
  for (int64_t column = first; column <= last; ++column) {
    if (y - all.centre[column] > all.radius) restart_column(all, column, y);
    if (all.centre[column] < oldest) oldest = all.centre[column];
  }
  while (oldest < y) move_columns(all, first, last, ++oldest);
}

// Sixteen cumulative counts of a window.
struct WindowCounts {
  alignas(32) uint16_t counts[16];

  // Adds consecutive columns (Sign 1) or removes them.
  template <int Sign>
  HWY_INLINE void take(const uint8_t* columns, int64_t count) {
    const Counts d;
    const hn::Rebind<uint8_t, Counts> bytes;
    for (size_t i = 0; i < 16; i += hn::Lanes(d)) {
      auto sum = hn::Load(d, counts + i);
      for (int64_t x = 0; x < count; ++x) {
        const auto column = hn::PromoteTo(d, hn::LoadU(bytes, columns + 16 * x + i));
        sum = Sign > 0 ? hn::Add(sum, column) : hn::Sub(sum, column);
      }
      hn::Store(sum, d, counts + i);
    }
  }

  HWY_INLINE void clear() {
    const Counts d;
    for (size_t i = 0; i < 16; i += hn::Lanes(d)) hn::Store(hn::Zero(d), d, counts + i);
  }

  // The first of the sixteen whose count is above rank; rank becomes the rank within it.
  HWY_INLINE int32_t find(int32_t& rank) const {
    const Counts d;
    const auto limit = hn::Set(d, static_cast<uint16_t>(rank));
    size_t found = 0;
    for (size_t i = 0; i < 16; i += hn::Lanes(d)) {
      const auto count = hn::Load(d, counts + i);
      found += hn::CountTrue(d, hn::Eq(hn::Min(count, limit), count));
    }
    if (found > 0) rank -= counts[found - 1];
    return static_cast<int32_t>(found);
  }
};

}  // namespace

// Medians of the open pixels of [first, last] in row y.
void median_run_by_histograms(const ColumnHistograms& all, const uint8_t* open, int32_t first,
                              int32_t last, int32_t y, uint8_t* result) {
  const int32_t side = 2 * all.radius + 1;
  update_columns(all, first, last + side - 1, y);
  WindowCounts groups;
  WindowCounts values[16];
  int32_t place[16];  // the pixel whose window values[group] counts
  for (int32_t& x : place) x = -side;
  groups.clear();
  groups.take<1>(all.groups + 16 * int64_t{first}, side);
  for (int32_t x = first; x <= last; ++x) {
    if (x > first) {
      groups.take<-1>(all.groups + 16 * (int64_t{x} - 1), 1);
      groups.take<1>(all.groups + 16 * (int64_t{x} + side - 1), 1);
    }
    if (open[x] == 0) continue;
    int32_t rank = side * side / 2;
    const int32_t group = groups.find(rank);
    const uint8_t* columns = all.values + 16 * (group * int64_t{all.columns});
    WindowCounts& window = values[group];
    const int32_t moved = x - place[group];
    if (2 * moved < side) {
      window.take<-1>(columns + 16 * int64_t{place[group]}, moved);
      window.take<1>(columns + 16 * (int64_t{place[group]} + side), moved);
    } else {
      window.clear();
      window.take<1>(columns + 16 * int64_t{x}, side);
    }
    place[group] = x;
    result[x] = static_cast<uint8_t>(16 * group + window.find(rank));
  }
}

}  // namespace kel::imageprocess::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace kel::imageprocess {

HWY_EXPORT(median_run_by_histograms);

void median_run_by_histograms(const ColumnHistograms& all, const uint8_t* open, int32_t first,
                              int32_t last, int32_t y, uint8_t* result) {
  HWY_DYNAMIC_DISPATCH(median_run_by_histograms)(all, open, first, last, y, result);
}

}  // namespace kel::imageprocess
#endif
