#include "core/kernels/vector_targets.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "core/kernels/enlarge_row.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

#include <bit>
#include <cstring>

#include "core/kernels/byte_gather-inl.h"
#include "core/kernels/enlarge_row.h"

HWY_BEFORE_NAMESPACE();
namespace kel::imgproc::HWY_NAMESPACE {

#if HWY_TARGET == HWY_SCALAR || HWY_TARGET == HWY_EMU128  // no vectors

void enlarge_row(uint8_t* dst, const EnlargedRow& row, const EnlargedColumns& columns) {
  enlarge_row_plain(dst, row, columns);
}

void find_changes(uint64_t* bits, const uint8_t* row, int64_t count) {
  find_changes_plain(bits, row, count);
}

#else

constexpr int64_t kChunk = EnlargedColumns::kChunk;
using D16 = hn::Repartition<int16_t, GatheredBytes>;

// near * 2048 + (near - far) * -weight, without the four lowest bits.
HWY_INLINE hn::Vec<D16> across(hn::Vec<GatheredBytes> bytes, hn::Vec<D16> weight) {
  const D16 d;
  const hn::RebindToUnsigned<D16> du;
  const auto pairs = hn::BitCast(du, bytes);
  const auto near = hn::ShiftRight<1>(hn::ShiftLeft<8>(pairs));  // times 128
  const auto far = hn::ShiftLeft<7>(hn::ShiftRight<8>(pairs));
  return hn::Add(hn::BitCast(d, near), hn::MulHigh(hn::BitCast(d, hn::Sub(near, far)), weight));
}

// Blocks [first, end) of eight pixels.
HWY_INLINE void mix(uint8_t* dst, const EnlargedRow& row, const LinearColumns& columns,
                    int64_t first, int64_t end) {
  const D16 d;
  const hn::Rebind<uint8_t, D16> d8;
  const Gatherer<1> gatherer(columns.pairs, 0);
  const uint8_t* const rows[2] = {row.upper, row.lower};
  const auto upper_weight = hn::Set(d, row.upper_weight);
  const auto lower_weight = hn::Set(d, row.lower_weight);
  for (int64_t block = first; block < end; block += kGatheredBlocks) {
    hn::Vec<GatheredBytes> bytes[2];
    gatherer.blocks(rows, block, bytes);
    const auto weight = hn::LoadU(d, columns.weights.data() + 8 * block);
    const auto upper = hn::MulHigh(across(bytes[0], weight), upper_weight);
    const auto lower = hn::MulHigh(across(bytes[1], weight), lower_weight);
    const auto sum = hn::Add(hn::Add(upper, lower), hn::Set(d, int16_t{2}));
    hn::StoreU(hn::DemoteTo(d8, hn::ShiftRight<2>(sum)), d8, dst + 8 * (block - first));
  }
}

HWY_INLINE void mix_uneven(uint8_t* dst, const EnlargedRow& row, const EnlargedColumns& columns,
                           int64_t chunk) {
  const auto i = static_cast<size_t>(chunk);
  for (int64_t k = columns.first_uneven[i]; k < columns.first_uneven[i + 1]; ++k) {
    const UnevenColumn& column = columns.uneven[static_cast<size_t>(k)];
    dst[column.x] = uneven_pixel(column, row);
  }
}

HWY_INLINE void mix_chunk(uint8_t* dst, const EnlargedRow& row, const EnlargedColumns& columns,
                          int64_t chunk) {
  const int64_t first = kChunk * chunk;
  const int64_t first_block = first / 8;
  if (first + kChunk <= columns.width) {
    mix(dst + first, row, columns.pairs, first_block, first_block + kChunk / 8);
  } else {
    uint8_t last[kChunk];
    mix(last, row, columns.pairs, first_block, columns.pairs.pairs.blocks);
    std::memcpy(dst + first, last, static_cast<size_t>(columns.width - first));
  }
  mix_uneven(dst, row, columns, chunk);
}

// Whether columns whose weights add up to one more or less than 2048 give another value between
// two values than the others.
HWY_INLINE bool depends_on_column(int32_t upper, int32_t lower, const EnlargedRow& row) {
  const auto of = [&](int32_t sum) { return blended(upper * sum >> 4, lower * sum >> 4, row); };
  return of(2047) != of(2048) || of(2049) != of(2048);
}

// Chunks [first, end), all between the same two values.
void fill_chunks(uint8_t* dst, const EnlargedRow& row, const EnlargedColumns& columns,
                 int64_t first, int64_t end) {
  const hn::CappedTag<uint8_t, kChunk> d;
  constexpr auto kStep = static_cast<int64_t>(hn::MaxLanes(d));
  const int32_t place = columns.places[static_cast<size_t>(first)];
  const int32_t upper = row.upper[place];
  const int32_t lower = row.lower[place];
  const uint8_t value = blended(128 * upper, 128 * lower, row);
  const int64_t last = HWY_MIN(kChunk * end, columns.width);
  int64_t x = kChunk * first;
  for (; x + kStep <= last; x += kStep) hn::StoreU(hn::Set(d, value), d, dst + x);
  std::memset(dst + x, value, static_cast<size_t>(last - x));
  if (!depends_on_column(upper, lower, row)) return;
  for (int64_t chunk = first; chunk < end; ++chunk) mix_uneven(dst, row, columns, chunk);
}

// The chunk from `chunk` on, up to `end`, whose bit is `value`.
HWY_INLINE int64_t find_chunk(const EnlargedRow& row, int64_t chunk, int64_t end, bool value) {
  const uint64_t flipped = value ? 0 : ~uint64_t{0};
  for (uint64_t from = ~uint64_t{0} << (chunk % 64); chunk < end; from = ~uint64_t{0}) {
    const int64_t word = chunk / 64;
    const uint64_t bits = ((row.upper_mixed[word] | row.lower_mixed[word]) ^ flipped) & from;
    if (bits != 0) return HWY_MIN(64 * word + std::countr_zero(bits), end);
    chunk = 64 * (word + 1);
  }
  return end;
}

void enlarge_row(uint8_t* dst, const EnlargedRow& row, const EnlargedColumns& columns) {
  const auto chunks = static_cast<int64_t>(columns.places.size());
  for (int64_t chunk = 0; chunk < chunks;) {
    const int64_t mixed = find_chunk(row, chunk, chunks, true);
    if (mixed > chunk) fill_chunks(dst, row, columns, chunk, mixed);
    chunk = find_chunk(row, mixed, chunks, false);
    for (int64_t i = mixed; i < chunk; ++i) mix_chunk(dst, row, columns, i);
  }
}

// Bit i tells whether row[i] and row[i + 1] differ.
HWY_INLINE uint64_t changes_of_word(const uint8_t* row) {
  constexpr int64_t kWord = 64;  // pixels
  const hn::CappedTag<uint8_t, kWord> d;
  constexpr auto kStep = static_cast<int64_t>(hn::MaxLanes(d));
  uint8_t bytes[kWord / 8 + kSpareMaskBytes];
  for (int64_t i = 0; i < kWord; i += kStep) {
    hn::StoreMaskBits(d, hn::Ne(hn::LoadU(d, row + i), hn::LoadU(d, row + i + 1)), bytes + i / 8);
  }
  uint64_t word;
  hwy::CopyBytes<sizeof(word)>(bytes, &word);
  return word;
}

// The bits of the last word come from the 64 last changes.
void find_changes(uint64_t* bits, const uint8_t* row, int64_t count) {
  if (count <= 64) return find_changes_plain(bits, row, count);
  const int64_t words = (count - 1) / 64;
  for (int64_t i = 0; i < words; ++i) bits[i] = changes_of_word(row + 64 * i);
  const int64_t left = count - 1 - 64 * words;
  if (64 * words == count) return;
  bits[words] = left == 0 ? 0 : changes_of_word(row + count - 65) >> (64 - left);
}

#endif

}  // namespace kel::imgproc::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace kel::imgproc {

HWY_EXPORT(enlarge_row);
HWY_EXPORT(find_changes);

void enlarge_row(uint8_t* dst, const EnlargedRow& row, const EnlargedColumns& columns) {
  HWY_DYNAMIC_DISPATCH(enlarge_row)(dst, row, columns);
}

void find_changes(uint64_t* bits, const uint8_t* row, int64_t count) {
  HWY_DYNAMIC_DISPATCH(find_changes)(bits, row, count);
}

}  // namespace kel::imgproc
#endif
