#include "core/kernels/median_run_by_histograms.h"

#include <algorithm>

#include "core/kernels/vector_targets.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "core/kernels/median_run_by_histograms.cpp"
#include <hwy/foreach_target.h>
// After foreach_target.h
#include <hwy/highway.h>

HWY_BEFORE_NAMESPACE();
namespace kel::imageprocess::HWY_NAMESPACE {
namespace {

namespace hn = hwy::HWY_NAMESPACE;

using Counts = hn::CappedTag<int16_t, 16>;
constexpr int kLanes = static_cast<int>(hn::MaxLanes(Counts()));

// Counts of columns are kept as bytes, which are half as much to load.
using Bytes = hn::CappedTag<uint8_t, 16>;
using CountBytes = hn::Rebind<uint8_t, Counts>;
constexpr int kByteLanes = static_cast<int>(hn::MaxLanes(Bytes()));

// What a pixel adds to sixteen cumulative counts, at 16 * digit.
struct Steps {
  alignas(32) uint8_t below[256];    // 1 for digits less than i
  alignas(32) uint8_t at_most[256];  // 1 for digits of at most i
};
constexpr Steps kSteps = [] {
  Steps steps{};
  for (int i = 0; i < 256; ++i) {
    steps.below[i] = i / 16 < i % 16 ? 1 : 0;
    steps.at_most[i] = i / 16 <= i % 16 ? 1 : 0;
  }
  return steps;
}();

HWY_INLINE int64_t upper(uint8_t value) { return value & 0xF0; }
HWY_INLINE int64_t lower(uint8_t value) { return 16 * (value & 15); }

// The counts of columns. Copied, because vectors that are stored might alias the original.
struct Counters {
  uint8_t* groups;
  uint8_t* values;
  int64_t columns;

  HWY_INLINE explicit Counters(const ColumnHistograms& all)
      : groups(all.groups), values(all.values), columns(all.columns) {}

  HWY_INLINE uint8_t* of(uint8_t value, int64_t column) const {
    return values + upper(value) * columns + 16 * column;
  }
  HWY_INLINE void add(int64_t column, uint8_t value) const {
    const Bytes d;
    uint8_t* const group = groups + 16 * column;
    uint8_t* const same = of(value, column);
    for (int i = 0; i < 16; i += kByteLanes) {
      const auto above = hn::Load(d, kSteps.below + upper(value) + i);
      hn::StoreU(hn::Add(hn::LoadU(d, group + i), above), d, group + i);
      const auto step = hn::Load(d, kSteps.at_most + lower(value) + i);
      hn::StoreU(hn::Add(hn::LoadU(d, same + i), step), d, same + i);
    }
  }
  HWY_INLINE void add_extremes(int64_t column, uint8_t zeros, uint8_t fulls) const {
    const Bytes d;
    uint8_t* const group = groups + 16 * column;
    uint8_t* const lowest = of(0, column);
    for (int i = 0; i < 16; i += kByteLanes) {
      const auto count = hn::Set(d, zeros);
      const auto above = hn::And(hn::Sub(hn::Zero(d), hn::Load(d, kSteps.below + i)), count);
      hn::StoreU(hn::Add(hn::LoadU(d, group + i), above), d, group + i);
      hn::StoreU(hn::Add(hn::LoadU(d, lowest + i), count), d, lowest + i);
    }
    of(255, column)[15] = static_cast<uint8_t>(of(255, column)[15] + fulls);
  }
  HWY_INLINE void move(int64_t column, uint8_t entering, uint8_t leaving) const {
    const Bytes d;
    uint8_t* const group = groups + 16 * column;
    for (int i = 0; i < 16; i += kByteLanes) {
      const auto more = hn::Load(d, kSteps.below + upper(entering) + i);
      const auto less = hn::Load(d, kSteps.below + upper(leaving) + i);
      const auto sum = hn::Sub(hn::Add(hn::LoadU(d, group + i), more), less);
      hn::StoreU(sum, d, group + i);
    }
    uint8_t* const more = of(entering, column);
    for (int i = 0; i < 16; i += kByteLanes) {
      const auto step = hn::Load(d, kSteps.at_most + lower(entering) + i);
      hn::StoreU(hn::Add(hn::LoadU(d, more + i), step), d, more + i);
    }
    uint8_t* const less = of(leaving, column);
    for (int i = 0; i < 16; i += kByteLanes) {
      const auto step = hn::Load(d, kSteps.at_most + lower(leaving) + i);
      hn::StoreU(hn::Sub(hn::LoadU(d, less + i), step), d, less + i);
    }
  }
};

// Counts a column around row y afresh. Most pixels of masks are 0 or 255: those are counted first,
// and added at once.
void restart_column(const ColumnHistograms& all, int64_t column, int32_t y) {
  const Counters counters(all);
  const int64_t x = all.src.at(all.left + column);
  for (int group = 0; group < 256; group += 16) {
    std::fill_n(counters.of(static_cast<uint8_t>(group), column), 16, uint8_t{0});
  }
  uint8_t zeros = 0;
  uint8_t fulls = 0;
  std::fill_n(counters.groups + 16 * column, 16, uint8_t{0});
  for (int32_t i = -all.radius; i <= all.radius; ++i) {
    const uint8_t value = all.src.row(y + i)[x];
    if (value == 0) {
      ++zeros;
    } else if (value == 255) {
      ++fulls;
    } else {
      counters.add(column, value);
    }
  }
  counters.add_extremes(column, zeros, fulls);
  all.centre[column] = y;
}

// Moves those of the columns [first, last] down to row `to` that are one row above it.
void move_columns(const ColumnHistograms& all, int64_t first, int64_t last, int32_t to) {
  const uint8_t* leaving_row = all.src.row(int64_t{to} - 1 - all.radius);
  const uint8_t* entering_row = all.src.row(int64_t{to} + all.radius);
  const Counters counters(all);
  for (int64_t column = first; column <= last; ++column) {
    if (all.centre[column] != to - 1) continue;
    all.centre[column] = to;
    const int64_t x = all.src.at(all.left + column);
    if (leaving_row[x] != entering_row[x]) {
      counters.move(column, entering_row[x], leaving_row[x]);
    }
  }
}

// Brings columns [first, last] up to date for the windows of row y.
void update_columns(const ColumnHistograms& all, int64_t first, int64_t last, int32_t y) {
  int32_t oldest = y;
  for (int64_t column = first; column <= last; ++column) {
    if (y - all.centre[column] > all.radius) restart_column(all, column, y);
    oldest = std::min(oldest, all.centre[column]);
  }
  while (oldest < y) move_columns(all, first, last, ++oldest);
}

// The same for all columns where they move together, without a look at each.
void update_all_columns(const ColumnHistograms& all, int32_t y) {
  const int64_t end = all.columns;
  if (all.centre[0] != y - 1) return update_columns(all, 0, end - 1, y);
  all.centre[0] = y;
  const Counters counters(all);
  const uint8_t* leaving = all.src.row(int64_t{y} - 1 - all.radius);
  const uint8_t* entering = all.src.row(int64_t{y} + all.radius);
  const int64_t before = HWY_MAX(-all.left, 0);
  const int64_t inside = HWY_MIN(end, int64_t{all.src.width} - all.left);
  const int64_t step = all.src.step;
  int64_t x = all.src.at(all.left);
  for (int64_t column = 0; column < end; ++column) {
    counters.move(column, entering[x], leaving[x]);
    if (column >= before && column + 1 < inside) x += step;
  }
}

// Sixteen cumulative counts of a window, less 2^15 so that the largest windows fit.
constexpr int32_t kBias = 32768;

struct WindowCounts {
  // Implicit constructors do not get the instruction set, which GCC minds.
  HWY_INLINE WindowCounts() = default;

  hn::Vec<Counts> counts[16 / kLanes];

  HWY_INLINE void clear() {
    for (auto& part : counts) part = hn::Set(Counts(), -kBias);
  }
  HWY_INLINE void load(const int16_t* from) {
    for (int i = 0; i < 16 / kLanes; ++i) counts[i] = hn::Load(Counts(), from + i * kLanes);
  }
  HWY_INLINE void store(int16_t* to) const {
    for (int i = 0; i < 16 / kLanes; ++i) hn::Store(counts[i], Counts(), to + i * kLanes);
  }
  static HWY_INLINE hn::Vec<Counts> part_of(const uint8_t* column, int i) {
    return hn::PromoteTo(Counts(), hn::LoadU(CountBytes(), column + i * kLanes));
  }
  HWY_INLINE void add(const uint8_t* column) {
    for (int i = 0; i < 16 / kLanes; ++i) counts[i] = hn::Add(counts[i], part_of(column, i));
  }
  HWY_INLINE void remove(const uint8_t* column) {
    for (int i = 0; i < 16 / kLanes; ++i) counts[i] = hn::Sub(counts[i], part_of(column, i));
  }
  // From the window that begins with a column to the one that begins `moved` columns later.
  HWY_INLINE void slide(const uint8_t* column, int64_t side, int64_t moved) {
    for (int64_t x = 0; x < moved; ++x) {
      remove(column + 16 * x);
      add(column + 16 * (x + side));
    }
  }
  HWY_INLINE void sum(const uint8_t* column, int64_t side) {
    clear();
    for (int64_t x = 0; x < side; ++x) add(column + 16 * x);
  }
  // How many of the sixteen are at most `rank`.
  HWY_INLINE int32_t at_most(int32_t rank) const {
    const auto limit = hn::Set(Counts(), static_cast<int16_t>(rank - kBias));
    size_t found = 16;
    for (const auto& part : counts) found -= hn::CountTrue(Counts(), hn::Gt(part, limit));
    return static_cast<int32_t>(found);
  }
};

// The counts of a group where they were last needed: those of the window of pixel `place`.
struct KeptCounts {
  alignas(32) int16_t counts[16];
  int64_t place;
};

// Windows along a row. Their median mostly stays in its group, so that only the counts of that
// group slide with them.
class SlidingWindow {
 public:
  HWY_INLINE SlidingWindow(const ColumnHistograms& all, int64_t x)
      : counters_(all), side_(2 * all.radius + 1), x_(x) {
    groups_.sum(counters_.groups + 16 * x, side_);
  }

  HWY_INLINE void slide() {
    const uint8_t* leaving = counters_.groups + 16 * x_;
    const uint8_t* entering = leaving + 16 * side_;
    groups_.remove(leaving);
    groups_.add(entering);
    rank_ += leaving[group_] - entering[group_];
    values_.slide(columns_ + 16 * x_, side_, 1);
    ++x_;
  }

  // The median, or a negative number if the window's group is another one.
  HWY_INLINE int32_t median() const {
    const int32_t found = values_.at_most(rank_);
    return rank_ < 0 || found == 16 ? -1 : 16 * group_ + found;
  }

  HWY_INLINE void keep(KeptCounts* kept) const {
    values_.store(kept[group_].counts);
    kept[group_].place = x_;
  }
  HWY_INLINE void enter_group(const KeptCounts* all_kept) {
    const auto middle = static_cast<int32_t>(side_ * side_ / 2);
    alignas(32) int16_t counts[16];
    groups_.store(counts);
    group_ = groups_.at_most(middle) - 1;
    rank_ = middle - (counts[group_] + kBias);
    columns_ = counters_.values + 16 * group_ * counters_.columns;
    const KeptCounts& kept = all_kept[group_];
    if (2 * (x_ - kept.place) < side_) {
      values_.load(kept.counts);
      values_.slide(columns_ + 16 * kept.place, side_, x_ - kept.place);
    } else {
      values_.sum(columns_ + 16 * x_, side_);
    }
  }

 private:
  const Counters counters_;
  const int64_t side_;
  int64_t x_;
  WindowCounts groups_;
  WindowCounts values_;
  int32_t group_ = 0;
  int32_t rank_ = 0;                  // of the median within its group
  const uint8_t* columns_ = nullptr;  // of the group
};

template <typename IsOpen>
HWY_INLINE void filter_run(const ColumnHistograms& all, IsOpen is_open, int32_t first, int32_t last,
                           uint8_t* result) {
  KeptCounts kept[16];
  for (KeptCounts& counts : kept) counts.place = -2 * int64_t{all.radius} - 1;
  SlidingWindow window(all, first);
  window.enter_group(kept);
  const int64_t step = all.src.step;
  for (int64_t x = first;; ++x) {
    if (is_open(x)) {
      int32_t median = window.median();
      if (HWY_UNLIKELY(median < 0)) {
        window.keep(kept);
        window.enter_group(kept);
        median = window.median();
      }
      result[x * step] = static_cast<uint8_t>(median);
    }
    if (x == last) return;
    window.slide();
  }
}

}  // namespace

void median_run_by_histograms(const ColumnHistograms& all, const uint8_t* open, int32_t first,
                              int32_t last, int32_t y, uint8_t* result) {
  if (open == nullptr) {
    update_all_columns(all, y);
    filter_run(all, [](int64_t) { return true; }, first, last, result);
  } else {
    update_columns(all, first, last + 2 * int64_t{all.radius}, y);
    filter_run(all, [open](int64_t x) { return open[x] != 0; }, first, last, result);
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
