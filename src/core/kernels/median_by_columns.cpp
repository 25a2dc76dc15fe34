#include "core/kernels/vector_targets.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "core/kernels/median_by_columns.cpp"
#include <hwy/foreach_target.h>
// After foreach_target.h
#include <hwy/cache_control.h>
#include <hwy/highway.h>

#include <cstring>

#include "core/kernels/median_by_columns.h"
#include "core/kernels/order-inl.h"

HWY_BEFORE_NAMESPACE();
namespace kel::imageprocess::HWY_NAMESPACE {

#if HWY_TARGET == HWY_SCALAR || HWY_TARGET == HWY_EMU128  // no vectors

void median_by_columns(uint8_t* const* results, const uint8_t* const* rows, int64_t count, int step,
                       int32_t ksize) {
  median_by_columns_plain(results, rows, count, step, ksize);
}

#else

namespace hn = hwy::HWY_NAMESPACE;

// Short rows are filtered by half as many bytes at a time. Kernel 3 takes no more than that: minima
// of 64 bytes take twice the time of those of 32.
using LongBytes = hn::CappedTag<uint8_t, 64>;
using ShortBytes = hn::CappedTag<uint8_t, 32>;

// By insertion, which is how a column grows, too. What nobody uses is not computed.
template <int kCount, class V>
HWY_INLINE void insert_last(V* sorted) {
  HWY_UNROLL(4)
  for (int i = kCount - 1; i > 0; --i) order(sorted[i - 1], sorted[i]);
}

template <class V>
HWY_INLINE V median_of_3(V a, V b, V c) {
  order(a, b);
  return hn::Max(a, hn::Min(b, c));
}

// Three pixels side by side.
template <class V>
struct SortedPixels {
  V least;
  V middle;
  V greatest;
};

template <class D>
HWY_INLINE SortedPixels<hn::Vec<D> > sort_pixels(D d, const uint8_t* middle, int64_t step) {
  using V = hn::Vec<D>;
  V least = hn::LoadU(d, middle - step);
  V greatest = hn::LoadU(d, middle + step);
  V between = hn::LoadU(d, middle);
  order(least, greatest);
  order(least, between);
  order(between, greatest);
  return {least, between, greatest};
}

// Two rows of results share the middle rows of their windows. With each row sorted, the median is
// between the greatest of the least and the least of the greatest, or in the middle.
template <class D, class Pixels>
HWY_INLINE void store_medians_of_3(D d, const Pixels& first, const Pixels& second,
                                   const Pixels& third, const Pixels& fourth, uint8_t* upper,
                                   uint8_t* lower) {
  const auto least = hn::Max(second.least, third.least);
  const auto below = hn::Min(second.middle, third.middle);
  const auto above = hn::Max(second.middle, third.middle);
  const auto greatest = hn::Min(second.greatest, third.greatest);
  const auto median = [&](const Pixels& row) HWY_ATTR {
    const auto middle = hn::Max(below, hn::Min(above, row.middle));
    return median_of_3(hn::Max(least, row.least), middle, hn::Min(greatest, row.greatest));
  };
  hn::StoreU(median(first), d, upper);
  hn::StoreU(median(fourth), d, lower);
}

// As many bytes of all rows of results as a vector has.
template <class D>
HWY_INLINE void filter_vector_by_3(D d, uint8_t* const (&results)[kMedianRows], int64_t at,
                                   const uint8_t* const (&rows)[kMedianRows + 2], int64_t from,
                                   int64_t step) {
  auto first = sort_pixels(d, rows[0] + from, step);
  auto second = sort_pixels(d, rows[1] + from, step);
  HWY_UNROLL(4)
  for (int i = 0; i < kMedianRows; i += 2) {
    const auto third = sort_pixels(d, rows[i + 2] + from, step);
    const auto fourth = sort_pixels(d, rows[i + 3] + from, step);
    store_medians_of_3(d, first, second, third, fourth, results[i] + at, results[i + 1] + at);
    first = third;
    second = fourth;
  }
}

// At the ends of rows, beyond which their first and last pixels are repeated.
constexpr int64_t kEnd = 16;    // bytes
constexpr int64_t kBeside = 8;  // enough for a pixel
constexpr int64_t kCopied = kEnd + kBeside;
HWY_INLINE void filter_ends_by_3(uint8_t* const (&results)[kMedianRows],
                                 const uint8_t* const (&rows)[kMedianRows + 2], int64_t count,
                                 int64_t step) {
  const hn::CappedTag<uint8_t, kEnd> d;
  uint8_t ends[kMedianRows + 2][2][kBeside + kCopied];
  const uint8_t* first[kMedianRows + 2];
  const uint8_t* last[kMedianRows + 2];
  for (int i = 0; i < kMedianRows + 2; ++i) {  // sizes that do not vary need no calls
    first[i] = ends[i][0] + kBeside;
    std::memcpy(ends[i][0] + kBeside - step, rows[i], kBeside);
    std::memcpy(ends[i][0] + kBeside, rows[i], kCopied);
    last[i] = ends[i][1] + kBeside;
    std::memcpy(ends[i][1] + kCopied + step - kBeside, rows[i] + count - kBeside, kBeside);
    std::memcpy(ends[i][1], rows[i] + count - kCopied, kCopied);
  }
  for (int64_t x = 0; x < kEnd; x += static_cast<int64_t>(hn::MaxLanes(d))) {
    filter_vector_by_3(d, results, x, first, x, step);
    filter_vector_by_3(d, results, count - kEnd + x, last, x, step);
  }
}

// Rows are sorted first, and all that lies between loads and stores is in registers: with columns
// first, whose order must be stored to be read beside itself, it took 1.6 times as long.
void filter_rows_by_3(uint8_t* const* results, const uint8_t* const* rows, int64_t count,
                      int64_t step) {
  const ShortBytes d;
  constexpr auto kLanes = static_cast<int64_t>(hn::MaxLanes(ShortBytes()));
  uint8_t* to[kMedianRows];
  const uint8_t* from[kMedianRows + 2];
  for (int i = 0; i < kMedianRows; ++i) to[i] = results[i];
  for (int i = 0; i < kMedianRows + 2; ++i) from[i] = rows[i];
  const int64_t last = count - step - kLanes;
  for (int64_t x = HWY_MIN(kEnd, last); x < last; x += kLanes) {
    filter_vector_by_3(d, to, x, from, x, step);
  }
  filter_vector_by_3(d, to, last, from, last, step);
  filter_ends_by_3(to, from, count, step);
}

constexpr int kPair = 2;  // rows of results of kernel 5 that are worked on together

// The columns of five rows around a chunk of results, from the least to the greatest.
struct SortedColumns {
  static constexpr int kSize = 5;
  static constexpr int64_t kChunk = 1024;
  static constexpr int64_t kLead = 64;  // before the first column that is sorted, for alignment
  alignas(64) uint8_t rank[kSize][kChunk + 2 * kLead];

  template <class D>
  HWY_INLINE void store(D d, const hn::Vec<D>* sorted, int64_t at) {
    HWY_UNROLL(5)
    for (int i = 0; i < kSize; ++i) hn::StoreU(sorted[i], d, rank[i] + at);
  }

  // Sorted columns from kLead to `end`, of which the first or the last pixel of the row is
  // repeated.
  HWY_INLINE void repeat(int64_t before, int64_t end, int64_t after, int64_t step) {
    for (auto& row : rank) {
      for (int64_t x = kLead - 1; x >= kLead - before; --x) row[x] = row[x + step];
      for (int64_t x = end; x < end + after; ++x) row[x] = row[x - step];
    }
  }
};

// Both rows of results share all but the first and the last row of their windows.
template <class D>
HWY_INLINE void sort_columns(D d, SortedColumns (&columns)[kPair], const uint8_t* const* rows,
                             int64_t from, int64_t at) {
  constexpr int kSize = SortedColumns::kSize;
  using V = hn::Vec<D>;
  V shared[kSize];
  shared[0] = hn::LoadU(d, rows[1] + from);
  HWY_UNROLL(4)
  for (int i = 1; i < kSize - 1; ++i) {
    shared[i] = hn::LoadU(d, rows[i + 1] + from);
    if (i == 1) insert_last<2>(shared);
    if (i == 2) insert_last<3>(shared);
    if (i == 3) insert_last<4>(shared);
  }
  HWY_UNROLL(2)
  for (int row = 0; row < kPair; ++row) {
    V sorted[kSize];
    for (int i = 0; i < kSize - 1; ++i) sorted[i] = shared[i];
    sorted[kSize - 1] = hn::LoadU(d, rows[row * kSize] + from);
    insert_last<kSize>(sorted);
    columns[row].store(d, sorted, at);
  }
}

// The greatest goes to the end of `count` vectors, or the least to their start.
template <class V>
HWY_INLINE void raise_greatest(V* v, int count) {
  HWY_UNROLL(4)
  for (int i = 0; i + 1 < count; ++i) order(v[i], v[i + 1]);
}
template <class V>
HWY_INLINE void sink_least(V* v, int count) {
  HWY_UNROLL(4)
  for (int i = count - 1; i > 0; --i) order(v[i - 1], v[i]);
}

template <class V>
HWY_INLINE V median_of_5(V a, V b, V c, V d, V e) {
  order(a, b);
  order(c, d);
  return median_of_3(e, hn::Max(a, c), hn::Min(b, d));
}

// With the rows of ranks sorted as well, the median is on the diagonal against both orders, or
// bounded by the diagonals beside it; rows are sorted no further than those need.
template <class D>
HWY_INLINE hn::Vec<D> median_at(D d, const SortedColumns& columns, int64_t at, int64_t step) {
  using V = hn::Vec<D>;
  V m[5][5];
  HWY_UNROLL(5)
  for (int i = 0; i < 5; ++i) {
    HWY_UNROLL(5)
    for (int64_t j = 0; j < 5; ++j) m[i][j] = hn::LoadU(d, columns.rank[i] + at + j * step);
    if (i <= 2) {
      raise_greatest(m[i], 5);
      raise_greatest(m[i], 4);
      if (i == 1) raise_greatest(m[i], 3);
      if (i == 2) {
        sink_least(m[i], 3);
        order(m[i][1], m[i][2]);
      }
    } else {
      sink_least(m[i], 5);
      sink_least(m[i] + 1, 4);
      if (i == 3) sink_least(m[i] + 2, 3);
    }
  }
  const V middle = median_of_5(m[0][4], m[1][3], m[2][2], m[3][1], m[4][0]);
  const V low = hn::Max(hn::Max(m[0][3], m[1][2]), hn::Max(m[2][1], m[3][0]));
  const V high = hn::Min(hn::Min(m[1][4], m[2][3]), hn::Min(m[3][2], m[4][1]));
  return median_of_3(low, middle, high);
}

// Whether all windows of a vector of results hold one value, as most of a mask's do.
template <class D>
HWY_INLINE bool is_flat(D d, const SortedColumns& columns, int64_t at, int64_t step) {
  const uint8_t* least = columns.rank[0] + at;
  const uint8_t* greatest = columns.rank[SortedColumns::kSize - 1] + at;
  const auto value = hn::Set(d, *least);
  const auto same = [&](const uint8_t* from) HWY_ATTR {
    return hn::And(hn::Eq(hn::LoadU(d, from), value),
                   hn::Eq(hn::LoadU(d, from + (SortedColumns::kSize - 1) * step), value));
  };
  return hn::AllTrue(d, hn::And(same(least), same(greatest)));
}

template <class D>
HWY_INLINE void filter_rows_by_5(D d, uint8_t* const* results, const uint8_t* const* rows,
                                 int64_t count, int step) {
  constexpr auto kLanes = static_cast<int64_t>(hn::MaxLanes(D()));
  constexpr int64_t kChunk = SortedColumns::kChunk;
  constexpr int kSize = SortedColumns::kSize;
  SortedColumns columns[kPair];
  const int64_t reach = int64_t{kSize / 2} * step;
  for (int64_t next = 0; next < count; next += kChunk) {
    const int64_t chunk = HWY_MIN(kChunk, count);
    const int64_t left = HWY_MIN(next, count - chunk);
    const int64_t first = HWY_MAX(left - reach, 0);
    const int64_t end = HWY_MIN(left + chunk + reach, count);
    const int64_t origin = first - SortedColumns::kLead;  // of the sorted columns
    for (int64_t x = first; x < end; x += kLanes) {
      const int64_t from = HWY_MIN(x, end - kLanes);
      const int64_t ahead = HWY_MIN(from + kChunk, count - 1);
      for (int i = 0; i < kPair; ++i) hwy::Prefetch(rows[kSize - 1 + i] + ahead);
      sort_columns(d, columns, rows, from, from - origin);
    }
    for (int row = 0; row < kPair; ++row) {
      columns[row].repeat(first - left + reach, end - origin, left + chunk + reach - end, step);
      for (int64_t x = 0; x < chunk; x += kLanes) {
        const int64_t at = HWY_MIN(x, chunk - kLanes);
        const int64_t window = left - reach - origin + at;
        const auto median = is_flat(d, columns[row], window, step)
                                ? hn::Set(d, columns[row].rank[0][window])
                                : median_at(d, columns[row], window, step);
        hn::StoreU(median, d, results[row] + left + at);
      }
    }
  }
}

template <class D>
HWY_INLINE void filter_pairs_by_5(D d, uint8_t* const* results, const uint8_t* const* rows,
                                  int64_t count, int step) {
  for (int i = 0; i < kMedianRows; i += kPair) {
    filter_rows_by_5(d, results + i, rows + i, count, step);
  }
}

void median_by_columns(uint8_t* const* results, const uint8_t* const* rows, int64_t count, int step,
                       int32_t ksize) {
  constexpr auto kShort = static_cast<int64_t>(hn::MaxLanes(ShortBytes()));
  if (ksize == 3 && count >= HWY_MAX(kShort + 2 * step, kCopied)) {
    filter_rows_by_3(results, rows, count, step);
  } else if (ksize == 5 && count >= static_cast<int64_t>(hn::MaxLanes(LongBytes()))) {
    filter_pairs_by_5(LongBytes(), results, rows, count, step);
  } else if (ksize == 5 && count >= kShort) {
    filter_pairs_by_5(ShortBytes(), results, rows, count, step);
  } else {
    median_by_columns_plain(results, rows, count, step, ksize);
  }
}

#endif

}  // namespace kel::imageprocess::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace kel::imageprocess {

HWY_EXPORT(median_by_columns);

void median_by_columns(uint8_t* const* results, const uint8_t* const* rows, int64_t count, int step,
                       int32_t ksize) {
  HWY_DYNAMIC_DISPATCH(median_by_columns)(results, rows, count, step, ksize);
}

}  // namespace kel::imageprocess
#endif
