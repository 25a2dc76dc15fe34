#include "core/kernels/vector_targets.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "core/kernels/extremes_of_rows.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

#include "core/kernels/extremes_of_rows.h"

HWY_BEFORE_NAMESPACE();
namespace kel::imageprocess::HWY_NAMESPACE {

#if HWY_TARGET == HWY_SCALAR || HWY_TARGET == HWY_EMU128  // no vectors

void extremes_of_rows(uint64_t* lit, uint64_t* unlit, const uint8_t* const* rows, int32_t count,
                      int64_t width) {
  extremes_of_rows_plain(lit, unlit, rows, count, width);
}

#else

namespace hn = hwy::HWY_NAMESPACE;

constexpr int64_t kWord = 64;  // pixels

void extremes_of_rows(uint64_t* lit, uint64_t* unlit, const uint8_t* const* rows, int32_t count,
                      int64_t width) {
  const hn::CappedTag<uint8_t, kWord> d;
  constexpr auto kStep = static_cast<int64_t>(hn::MaxLanes(d));
  const auto black = hn::Zero(d);
  const auto white = hn::Set(d, 255);
  const int64_t whole = width / kWord * kWord;
  for (int64_t x = 0; x < whole; x += kWord) {
    uint8_t lit_bits[kWord / 8 + kSpareMaskBytes];
    uint8_t unlit_bits[kWord / 8 + kSpareMaskBytes];
    for (int64_t i = 0; i < kWord; i += kStep) {
      auto any = hn::LoadU(d, rows[0] + x + i);
      auto all = any;
      for (int32_t y = 1; y < count; ++y) {
        const auto row = hn::LoadU(d, rows[y] + x + i);
        any = hn::Or(any, row);
        all = hn::And(all, row);
      }
      hn::StoreMaskBits(d, hn::Ne(any, black), lit_bits + i / 8);
      hn::StoreMaskBits(d, hn::Ne(all, white), unlit_bits + i / 8);
    }
    hwy::CopyBytes<kWord / 8>(lit_bits, lit + x / kWord);
    hwy::CopyBytes<kWord / 8>(unlit_bits, unlit + x / kWord);
  }
  for (int64_t x = whole; x < width; ++x) {
    if (x == whole) lit[x / kWord] = unlit[x / kWord] = 0;
    for (int32_t y = 0; y < count; ++y) {
      lit[x / kWord] |= uint64_t{rows[y][x] != 0} << (x % kWord);
      unlit[x / kWord] |= uint64_t{rows[y][x] != 255} << (x % kWord);
    }
  }
}

#endif

}  // namespace kel::imageprocess::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace kel::imageprocess {

HWY_EXPORT(extremes_of_rows);

void extremes_of_rows(uint64_t* lit, uint64_t* unlit, const uint8_t* const* rows, int32_t count,
                      int64_t width) {
  HWY_DYNAMIC_DISPATCH(extremes_of_rows)(lit, unlit, rows, count, width);
}

}  // namespace kel::imageprocess
#endif
