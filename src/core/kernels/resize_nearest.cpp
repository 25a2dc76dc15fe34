#include "core/kernels/vector_targets.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "core/kernels/resize_nearest.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

#include <cstring>

#include "core/kernels/byte_gather-inl.h"
#include "core/kernels/resize_nearest.h"

HWY_BEFORE_NAMESPACE();
namespace kel::imgproc::HWY_NAMESPACE {

#if HWY_TARGET == HWY_SCALAR || HWY_TARGET == HWY_EMU128  // no vectors

void pick_bytes(uint8_t* dst, const uint8_t* row, int64_t ahead, const ByteGather& bytes,
                int64_t count) {
  pick_bytes_plain(dst, row, ahead, bytes, count);
}

void pick_words(uint8_t* dst, const uint8_t* row, int64_t ahead, const int32_t* offsets,
                int64_t count) {
  pick_pixels(dst, row, ahead, offsets, count, 4);
}

#else

template <int kWindows>
void pick(uint8_t* dst, const uint8_t* row, int64_t ahead, const ByteGather& bytes, int64_t count) {
  const GatheredBytes d;
  constexpr int64_t kStep = ByteGather::kBlock * kGatheredBlocks;
  const Gatherer<kWindows> gatherer(bytes, ahead);
  int64_t x = 0;
  for (; x + kStep <= count; x += kStep) {
    prefetch_ahead(dst + x, kStep);
    hn::StoreU(gatherer.blocks(row, x / ByteGather::kBlock), d, dst + x);
  }
  if (x == count) return;
  alignas(kStep) uint8_t last[kStep];
  hn::Store(gatherer.blocks(row, x / ByteGather::kBlock), d, last);
  std::memcpy(dst + x, last, static_cast<size_t>(count - x));
}

void pick_bytes(uint8_t* dst, const uint8_t* row, int64_t ahead, const ByteGather& bytes,
                int64_t count) {
  switch (bytes.windows) {
    case 1:
      return pick<1>(dst, row, ahead, bytes, count);
    case 2:
      return pick<2>(dst, row, ahead, bytes, count);
    case 3:
      return pick<3>(dst, row, ahead, bytes, count);
    default:
      return pick<0>(dst, row, ahead, bytes, count);
  }
}

using Words = hn::CappedTag<uint32_t, 8>;

HWY_INLINE hn::Vec<Words> load_words(const uint8_t* row, const int32_t* offsets) {
  const Words d;
#if HWY_TARGET <= HWY_AVX2
  const hn::RebindToSigned<Words> d_offsets;
  return hn::GatherOffset(d, reinterpret_cast<const uint32_t*>(row), hn::LoadU(d_offsets, offsets));
#else
  const auto word = [&](int i) {
    uint32_t value;
    std::memcpy(&value, row + offsets[i], sizeof value);
    return hn::Set(d, value);
  };
  const auto lower = hn::InterleaveLower(d, word(0), word(1));
  return hn::ConcatLowerLower(d, hn::InterleaveLower(d, word(2), word(3)), lower);
#endif
}

void pick_words(uint8_t* dst, const uint8_t* row, int64_t ahead, const int32_t* offsets,
                int64_t count) {
  const Words d;
  constexpr auto kStep = static_cast<int64_t>(hn::MaxLanes(d));
  int64_t x = 0;
  for (; x + kStep <= count; x += kStep) {
    prefetch(row + offsets[x] + ahead);
    const hn::Repartition<uint8_t, Words> bytes;
    hn::StoreU(hn::BitCast(bytes, load_words(row, offsets + x)), bytes, dst + 4 * x);
  }
  pick_pixels(dst + 4 * x, row, ahead, offsets + x, count - x, 4);
}

#endif

}  // namespace kel::imgproc::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace kel::imgproc {

HWY_EXPORT(pick_bytes);
HWY_EXPORT(pick_words);

void pick_bytes(uint8_t* dst, const uint8_t* row, int64_t ahead, const ByteGather& bytes,
                int64_t count) {
  HWY_DYNAMIC_DISPATCH(pick_bytes)(dst, row, ahead, bytes, count);
}

void pick_words(uint8_t* dst, const uint8_t* row, int64_t ahead, const int32_t* offsets,
                int64_t count) {
  HWY_DYNAMIC_DISPATCH(pick_words)(dst, row, ahead, offsets, count);
}

}  // namespace kel::imgproc
#endif
