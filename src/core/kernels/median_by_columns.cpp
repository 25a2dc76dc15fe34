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

// Short rows are filtered by half as many bytes at a time.
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

// The columns of kSize rows around a chunk of results, from the least to the greatest.
template <int kSize>
struct SortedColumns {
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
template <class D, int kSize>
HWY_INLINE void sort_columns(D d, SortedColumns<kSize> (&columns)[kMedianRows],
                             const uint8_t* const* rows, int64_t from, int64_t at) {
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
  for (int row = 0; row < kMedianRows; ++row) {
    V sorted[kSize];
    for (int i = 0; i < kSize - 1; ++i) sorted[i] = shared[i];
    sorted[kSize - 1] = hn::LoadU(d, rows[row * kSize] + from);
    insert_last<kSize>(sorted);
    columns[row].store(d, sorted, at);
  }
}

// The median is between the greatest of the least and the least of the greatest, or in the middle.
template <class D>
HWY_INLINE hn::Vec<D> median_at(D d, const SortedColumns<3>& columns, int64_t at, int64_t step) {
  hn::Vec<D> m[3][3];
  HWY_UNROLL(3)
  for (int i = 0; i < 3; ++i) {
    for (int64_t j = 0; j < 3; ++j) m[i][j] = hn::LoadU(d, columns.rank[i] + at + j * step);
  }
  return median_of_3(hn::Max(hn::Max(m[0][0], m[0][1]), m[0][2]),
                     median_of_3(m[1][0], m[1][1], m[1][2]),
                     hn::Min(hn::Min(m[2][0], m[2][1]), m[2][2]));
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
HWY_INLINE hn::Vec<D> median_at(D d, const SortedColumns<5>& columns, int64_t at, int64_t step) {
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

template <int kSize, class D>
HWY_INLINE void filter_rows(D d, uint8_t* const* results, const uint8_t* const* rows, int64_t count,
                            int step) {
  constexpr auto kLanes = static_cast<int64_t>(hn::MaxLanes(D()));
  constexpr int64_t kChunk = SortedColumns<kSize>::kChunk;
  SortedColumns<kSize> columns[kMedianRows];
  const int64_t reach = int64_t{kSize / 2} * step;
  for (int64_t next = 0; next < count; next += kChunk) {
    const int64_t chunk = HWY_MIN(kChunk, count);
    const int64_t left = HWY_MIN(next, count - chunk);
    const int64_t first = HWY_MAX(left - reach, 0);
    const int64_t end = HWY_MIN(left + chunk + reach, count);
    const int64_t origin = first - SortedColumns<kSize>::kLead;  // of the sorted columns
    for (int64_t x = first; x < end; x += kLanes) {
      const int64_t from = HWY_MIN(x, end - kLanes);
      const int64_t ahead = HWY_MIN(from + kChunk, count - 1);
      for (int i = 0; i < kMedianRows; ++i) hwy::Prefetch(rows[kSize - 1 + i] + ahead);
      sort_columns(d, columns, rows, from, from - origin);
    }
    for (int row = 0; row < kMedianRows; ++row) {
      columns[row].repeat(first - left + reach, end - origin, left + chunk + reach - end, step);
      for (int64_t x = 0; x < chunk; x += kLanes) {
        const int64_t at = HWY_MIN(x, chunk - kLanes);
        const auto median = median_at(d, columns[row], left - reach - origin + at, step);
        hn::StoreU(median, d, results[row] + left + at);
      }
    }
  }
}

template <class D>
HWY_INLINE void filter_rows_of_size(D d, uint8_t* const* results, const uint8_t* const* rows,
                                    int64_t count, int step, int32_t ksize) {
  ksize == 3 ? filter_rows<3>(d, results, rows, count, step)
             : filter_rows<5>(d, results, rows, count, step);
}

void median_by_columns(uint8_t* const* results, const uint8_t* const* rows, int64_t count, int step,
                       int32_t ksize) {
  if (count >= static_cast<int64_t>(hn::MaxLanes(LongBytes()))) {
    filter_rows_of_size(LongBytes(), results, rows, count, step, ksize);
  } else if (count >= static_cast<int64_t>(hn::MaxLanes(ShortBytes()))) {
    filter_rows_of_size(ShortBytes(), results, rows, count, step, ksize);
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
