#include "core/kernels/vector_targets.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "core/kernels/bits_of_row.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

#include "core/kernels/bits_of_row.h"

HWY_BEFORE_NAMESPACE();
namespace kel::imageprocess::HWY_NAMESPACE {

#if HWY_TARGET == HWY_SCALAR || HWY_TARGET == HWY_EMU128  // no vectors

void bits_above(uint64_t* bits, const uint8_t* row, int64_t count, uint8_t level) {
  bits_above_plain(bits, row, count, level);
}

void bytes_of_bits(uint8_t* row, const uint64_t* bits, int64_t count) {
  bytes_of_bits_plain(row, bits, count);
}

#else

namespace hn = hwy::HWY_NAMESPACE;

constexpr int64_t kWord = 64;  // pixels

HWY_INLINE uint64_t word_above(const uint8_t* pixels, uint8_t level) {
  const hn::CappedTag<uint8_t, kWord> d;
  constexpr auto kStep = static_cast<int64_t>(hn::MaxLanes(d));
  uint8_t bytes[kWord / 8 + kSpareMaskBytes];
  for (int64_t i = 0; i < kWord; i += kStep) {
    hn::StoreMaskBits(d, hn::Gt(hn::LoadU(d, pixels + i), hn::Set(d, level)), bytes + i / 8);
  }
  uint64_t word;
  hwy::CopyBytes<sizeof(word)>(bytes, &word);
  return word;
}

void bits_above(uint64_t* bits, const uint8_t* row, int64_t count, uint8_t level) {
  if (count < kWord) return bits_above_plain(bits, row, count, level);
  const int64_t whole = count / kWord * kWord;
  for (int64_t x = 0; x < whole; x += kWord) bits[x / kWord] = word_above(row + x, level);
  if (whole == count) return;
  bits[whole / kWord] = word_above(row + count - kWord, level) >> (whole + kWord - count);
}

void bytes_of_bits(uint8_t* row, const uint64_t* bits, int64_t count) {
  const hn::CappedTag<uint8_t, kWord> d;
  constexpr auto kStep = static_cast<int64_t>(hn::MaxLanes(d));
  const int64_t whole = count / kWord * kWord;
  for (int64_t x = 0; x < whole; x += kWord) {
    uint8_t word[kWord / 8 + kSpareMaskBytes] = {};
    hwy::CopyBytes<kWord / 8>(bits + x / kWord, word);
    for (int64_t i = 0; i < kWord; i += kStep) {
      hn::StoreU(hn::VecFromMask(d, hn::LoadMaskBits(d, word + i / 8)), d, row + x + i);
    }
  }
  bytes_of_bits_plain(row + whole, bits + whole / kWord, count - whole);
}

#endif

}  // namespace kel::imageprocess::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace kel::imageprocess {

HWY_EXPORT(bits_above);
HWY_EXPORT(bytes_of_bits);

void bits_above(uint64_t* bits, const uint8_t* row, int64_t count, uint8_t level) {
  HWY_DYNAMIC_DISPATCH(bits_above)(bits, row, count, level);
}

void bytes_of_bits(uint8_t* row, const uint64_t* bits, int64_t count) {
  HWY_DYNAMIC_DISPATCH(bytes_of_bits)(row, bits, count);
}

}  // namespace kel::imageprocess
#endif
