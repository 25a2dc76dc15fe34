#include "core/kernels/vector_targets.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "core/kernels/block_mean.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

#include <cstring>

#include "core/kernels/block_mean.h"
#include "core/kernels/byte_gather-inl.h"
#include "core/kernels/round_to_bytes-inl.h"

HWY_BEFORE_NAMESPACE();
namespace kel::imgproc::HWY_NAMESPACE {

#if HWY_TARGET == HWY_SCALAR || HWY_TARGET == HWY_EMU128  // no vectors

void block_mean(uint8_t* dst, const uint8_t* row, int64_t pitch, int64_t /*ahead*/,
                const BlockColumns& columns, int64_t count) {
  block_mean_plain(dst, row, pitch, columns.blocks, count);
}

#else

using Words = hn::Repartition<uint16_t, GatheredBytes>;

// Even bytes and odd bytes.
HWY_INLINE hn::Vec<Words> sum_of_pairs(hn::Vec<GatheredBytes> bytes) {
  const auto words = hn::BitCast(Words(), bytes);
  return hn::Add(hn::And(words, hn::Set(Words(), uint16_t{0xFF})), hn::ShiftRight<8>(words));
}

// Blocks of two by two pixels.
template <int kWindows, bool kRoundsUp>
void mean_of_four(uint8_t* dst, const uint8_t* row, int64_t pitch, int64_t ahead,
                  const BlockColumns& columns, int64_t count) {
  const Words d;
  const hn::Rebind<uint8_t, Words> d8;
  constexpr auto kStep = static_cast<int64_t>(hn::MaxLanes(d));
  const auto one = hn::Set(d, uint16_t{1});
  const uint8_t* const rows[2] = {row, row + pitch};
  const Gatherer<kWindows> gatherer(columns.bytes, ahead);
  const auto mean = [&](int64_t x) {
    hn::Vec<GatheredBytes> bytes[2];
    gatherer.blocks(rows, x / 8, bytes);
    auto sum = hn::Add(sum_of_pairs(bytes[0]), sum_of_pairs(bytes[1]));
    const auto half = kRoundsUp ? one : hn::And(hn::ShiftRight<2>(sum), one);
    sum = hn::ShiftRight<2>(hn::Add(hn::Add(sum, one), half));
    return hn::DemoteTo(d8, hn::BitCast(hn::RebindToSigned<Words>(), sum));
  };
  int64_t x = 0;
  for (; x + kStep <= count; x += kStep) {
    prefetch_ahead(dst + x, kStep);
    hn::StoreU(mean(x), d8, dst + x);
  }
  if (x == count) return;
  alignas(32) uint8_t last[kStep];
  hn::Store(mean(x), d8, last);
  std::memcpy(dst + x, last, static_cast<size_t>(count - x));
}

template <int kWindows>
void mean_of_many(uint8_t* dst, const uint8_t* row, int64_t pitch, int64_t ahead,
                  const BlockColumns& columns, int64_t count) {
  const Floats d;
  const hn::Repartition<uint32_t, Floats> d32;
  const auto scale = hn::Set(d, 1.0F / static_cast<float>(columns.blocks.area()));
  const int64_t quads = (columns.blocks.width + 3) / 4;
  const int64_t height = columns.blocks.height;
  const Gatherer<kWindows> gatherer(columns.bytes, ahead);
  round_to_bytes(dst, count, [&](int64_t x) {
    const int64_t first = x / 8 * quads * 2 + x % 8 / 4;
    auto pairs = hn::Zero(Words());
    for (int64_t y = 0; y < height; ++y) {
      for (int64_t quad = 0; quad < quads; ++quad) {
        const auto bytes = gatherer.blocks(row + y * pitch, first + 2 * quad);
        pairs = hn::Add(pairs, sum_of_pairs(bytes));
      }
    }
    const auto both = hn::BitCast(d32, pairs);
    const auto sum = hn::Add(hn::And(both, hn::Set(d32, 0xFFFF)), hn::ShiftRight<16>(both));
    return hn::Mul(hn::ConvertTo(d, hn::BitCast(hn::RebindToSigned<Floats>(), sum)), scale);
  });
}

template <int kWindows>
void mean(uint8_t* dst, const uint8_t* row, int64_t pitch, int64_t ahead,
          const BlockColumns& columns, int64_t count) {
  if (!columns.are_pairs()) return mean_of_many<kWindows>(dst, row, pitch, ahead, columns, count);
  columns.blocks.rounds_up()
      ? mean_of_four<kWindows, true>(dst, row, pitch, ahead, columns, count)
      : mean_of_four<kWindows, false>(dst, row, pitch, ahead, columns, count);
}

void block_mean(uint8_t* dst, const uint8_t* row, int64_t pitch, int64_t ahead,
                const BlockColumns& columns, int64_t count) {
  switch (columns.bytes.windows) {
    case 1:
      return mean<1>(dst, row, pitch, ahead, columns, count);
    case 2:
      return mean<2>(dst, row, pitch, ahead, columns, count);
    default:
      return mean<0>(dst, row, pitch, ahead, columns, count);
  }
}

#endif

}  // namespace kel::imgproc::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace kel::imgproc {

HWY_EXPORT(block_mean);

void block_mean(uint8_t* dst, const uint8_t* row, int64_t pitch, int64_t ahead,
                const BlockColumns& columns, int64_t count) {
  HWY_DYNAMIC_DISPATCH(block_mean)(dst, row, pitch, ahead, columns, count);
}

}  // namespace kel::imgproc
#endif
