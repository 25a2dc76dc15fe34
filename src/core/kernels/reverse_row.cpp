#include "core/kernels/vector_targets.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "core/kernels/reverse_row.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

#include "core/kernels/prefetch.h"
#include "core/kernels/reverse_row.h"

HWY_BEFORE_NAMESPACE();
namespace kel::imageprocess::HWY_NAMESPACE {

#if HWY_TARGET == HWY_SCALAR || HWY_TARGET == HWY_EMU128  // no vectors

void reverse_row(uint8_t* dst, const uint8_t* src, int64_t count, int element_bytes) {
  reverse_row_plain(dst, src, count, element_bytes);
}

#else

namespace hn = hwy::HWY_NAMESPACE;

// Elements of 1, 2 or 4 bytes: the elements of every block of 16 bytes, then the blocks.
template <int kBytes>
void reverse_by_blocks(uint8_t* dst, const uint8_t* src, int64_t count) {
  const hn::CappedTag<uint8_t, 32> d;
  constexpr auto kStep = static_cast<int64_t>(hn::MaxLanes(d));
  const int64_t size = count * kBytes;
  if (size < kStep) return reverse_row_plain(dst, src, count, kBytes);
  alignas(16) uint8_t order[16];
  for (int i = 0; i < 16; ++i) {
    order[i] = static_cast<uint8_t>((15 - i) / kBytes * kBytes + i % kBytes);
  }
  const auto reversed = hn::LoadDup128(d, order);
  for (int64_t x = 0; x < size; x += kStep) {
    const int64_t at = HWY_MIN(x, size - kStep);  // the last vector ends with the row
    prefetch_ahead(dst + at, kStep);
    const auto v = hn::TableLookupBytes(hn::LoadU(d, src + (size - kStep - at)), reversed);
    hn::StoreU(hn::ReverseBlocks(d, v), d, dst + at);
  }
}

// Elements of 3 bytes: five at a time, of 16 bytes that start one byte before them. The
// excess byte of each store is overwritten by the elements that follow.
void reverse_by_fives(uint8_t* dst, const uint8_t* src, int64_t count) {
  const hn::CappedTag<uint8_t, 16> d;
  alignas(16) static constexpr uint8_t kReversed[16] = {13, 14, 15, 10, 11, 12, 7, 8,
                                                        9,  4,  5,  6,  1,  2,  3, 0};
  const auto reversed = hn::Load(d, kReversed);
  for (; count > 5; count -= 5, dst += 15) {
    prefetch_ahead(dst, 15);
    hn::StoreU(hn::TableLookupBytes(hn::LoadU(d, src + 3 * (count - 5) - 1), reversed), d, dst);
  }
  reverse_row_plain(dst, src, count, 3);
}

void reverse_row(uint8_t* dst, const uint8_t* src, int64_t count, int element_bytes) {
  switch (element_bytes) {
    case 1:
      return reverse_by_blocks<1>(dst, src, count);
    case 2:
      return reverse_by_blocks<2>(dst, src, count);
    case 4:
      return reverse_by_blocks<4>(dst, src, count);
    default:
      return reverse_by_fives(dst, src, count);
  }
}

#endif

}  // namespace kel::imageprocess::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace kel::imageprocess {

HWY_EXPORT(reverse_row);

void reverse_row(uint8_t* dst, const uint8_t* src, int64_t count, int element_bytes) {
  HWY_DYNAMIC_DISPATCH(reverse_row)(dst, src, count, element_bytes);
}

}  // namespace kel::imageprocess
#endif
