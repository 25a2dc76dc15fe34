#include "core/kernels/vector_targets.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "core/kernels/median_row_by_network.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

#include <algorithm>
#include <cstring>

#include "core/kernels/median_row_by_network.h"
#include "core/kernels/order-inl.h"

HWY_BEFORE_NAMESPACE();
namespace kel::imageprocess::HWY_NAMESPACE {
namespace {

namespace hn = hwy::HWY_NAMESPACE;

using Bytes = hn::CappedTag<uint8_t, 32>;
using Vector = hn::Vec<Bytes>;
constexpr int kLanes = static_cast<int>(hn::MaxLanes(Bytes()));

template <int kSide>
HWY_INLINE void sort(Vector* first, int step) {
  for (int end = kSide - 1; end > 0; --end) {
    for (int i = 0; i < end; ++i) order(first[i * step], first[(i + 1) * step]);
  }
}

template <int kSide>
HWY_INLINE Vector median(Vector (&m)[kSide * kSide]) {
  for (int i = 0; i < kSide; ++i) sort<kSide>(m + kSide * i, 1);
  for (int i = 0; i < kSide; ++i) sort<kSide>(m + i, kSide);
  sort<kSide>(m + kSide - 1, kSide - 1);
  if constexpr (kSide == 5) {  // the diagonals beside it bound the median
    Vector middle[3] = {hn::Max(hn::Max(m[3], m[7]), hn::Max(m[11], m[15])), m[12],
                        hn::Min(hn::Min(m[9], m[13]), hn::Min(m[17], m[21]))};
    sort<3>(middle, 1);
    return middle[1];
  }
  return m[kSide * kSide / 2];
}

// Whether a chunk and the columns beside it all have one value.
template <int kSide>
HWY_INLINE bool is_flat(const uint8_t* row) {
  const Bytes d;
  constexpr int kLast = kNetworkChunk + kSide - 1 - kLanes;
  const auto first = hn::Set(d, *row);
  auto same = hn::Eq(hn::LoadU(d, row), first);
  for (int i = kLanes; i < kLast + kLanes; i += kLanes) {
    same = hn::And(same, hn::Eq(hn::LoadU(d, row + std::min(i, kLast)), first));
  }
  return hn::AllTrue(d, same);
}

// Medians of the chunk whose windows begin with column `left` of the rows.
template <int kSide>
HWY_INLINE void filter_chunk(const uint8_t* const (&rows)[5], int32_t left, uint8_t* result) {
  const Bytes d;
  const uint8_t* from[kSide];
  for (int i = 0; i < kSide; ++i) from[i] = rows[i] + left;
  for (int at = 0; at < kNetworkChunk; at += kLanes) {
    Vector window[kSide * kSide];
    for (int i = 0; i < kSide; ++i) {
      for (int j = 0; j < kSide; ++j) window[kSide * j + i] = hn::LoadU(d, from[i] + at + j);
    }
    hn::StoreU(median<kSide>(window), d, result + at);
  }
}

// The same where windows reach beyond the row, whose border columns are repeated. `inside`: `left`
// clamped to the columns for which the row has them all.
template <int kSide>
HWY_INLINE void filter_border_chunk(const NetworkRow& row, int32_t left, int32_t inside,
                                    uint8_t* result) {
  constexpr int kRadius = kSide / 2;
  constexpr int kReach = kNetworkChunk + kSide - 1;
  uint8_t padded[kSide][kRadius + kReach + kRadius];
  const uint8_t* rows[5] = {};
  for (int i = 0; i < kSide; ++i) {
    const uint8_t* columns = row.rows[i] + inside;
    std::memset(padded[i], columns[0], kRadius);
    std::memcpy(padded[i] + kRadius, columns, kReach);
    std::memset(padded[i] + kRadius + kReach, columns[kReach - 1], kRadius);
    rows[i] = padded[i];
  }
  filter_chunk<kSide>(rows, kRadius + left - inside, result);
}

template <int kSide>
HWY_INLINE void filter_row_by(const NetworkRow& row) {
  const uint8_t* entering = row.rows[kSide - 1];
  const uint8_t* above = row.rows[kSide - 2];
  uint8_t* run = row.runs;
  for (int32_t next = 0; next < row.width; next += kNetworkChunk, ++run) {
    const int32_t x = std::min(next, row.width - kNetworkChunk);
    const int32_t left = x - kSide / 2;
    const int32_t inside = std::clamp(left, 0, row.width - kNetworkChunk - kSide + 1);
    const int before = entering[inside] == above[inside] ? *run : 0;
    const int now = is_flat<kSide>(entering + inside) ? std::min(before + 1, kSide) : 0;
    *run = static_cast<uint8_t>(now);
    if (row.result == nullptr) continue;
    if (now > kSide / 2) {
      std::memset(row.result + x, entering[x], kNetworkChunk);
    } else if (left == inside) {
      filter_chunk<kSide>(row.rows, left, row.result + x);
    } else {
      filter_border_chunk<kSide>(row, left, inside, row.result + x);
    }
  }
}

}  // namespace

void median_row_by_network(const NetworkRow& row, int32_t ksize) {
  ksize == 3 ? filter_row_by<3>(row) : filter_row_by<5>(row);
}

}  // namespace kel::imageprocess::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace kel::imageprocess {

HWY_EXPORT(median_row_by_network);

void median_row_by_network(const NetworkRow& row, int32_t ksize) {
  HWY_DYNAMIC_DISPATCH(median_row_by_network)(row, ksize);
}

}  // namespace kel::imageprocess
#endif
