#include "core/kernels/vector_targets.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "core/kernels/find_majorities.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

#include "core/kernels/find_majorities.h"

HWY_BEFORE_NAMESPACE();
namespace kel::imageprocess::HWY_NAMESPACE {

#if HWY_TARGET == HWY_SCALAR || HWY_TARGET == HWY_EMU128  // no vectors

void find_majorities(uint64_t* to, int64_t to_row_words, const WordColumn& column, int32_t first,
                     int32_t end) {
  find_majorities_plain(to, to_row_words, column, first, end);
}

#else

namespace {

namespace hn = hwy::HWY_NAMESPACE;

using Bytes = hn::CappedTag<uint8_t, 64>;
using Words = hn::CappedTag<int16_t, 32>;
using HalfBytes = hn::Rebind<uint8_t, Words>;
constexpr int32_t kStep = static_cast<int32_t>(hn::MaxLanes(Bytes()));
constexpr int32_t kWordStep = static_cast<int32_t>(hn::MaxLanes(Words()));
constexpr int32_t kColumns = 128;  // of pixels: 64 and the reach of their windows
constexpr int32_t kVectors = kColumns / kStep;
constexpr int32_t kRows = 8;  // at once, so that no sum is read right after it was written

// Pixels set in columns of windows, in columns from the leftmost one that a window reaches.
class ColumnCounts {
 public:
  HWY_INLINE ColumnCounts(const WordColumn& column, int32_t y)
      : column_(column), radius_(column.ksize / 2) {
    for (auto& count : counts_) count = hn::Zero(Bytes());
    for (int32_t i = y - radius_ - 1; i < y + radius_; ++i) {
      spread(i);
      for (int32_t v = 0; v < kVectors; ++v) counts_[v] = hn::Sub(counts_[v], pixels(v));
    }
  }

  // The counts of row y, which follows the last one.
  HWY_INLINE void next(int32_t y, uint8_t* to) {
    spread(y + radius_);
    for (int32_t v = 0; v < kVectors; ++v) counts_[v] = hn::Sub(counts_[v], pixels(v));
    spread(y - radius_ - 1);
    for (int32_t v = 0; v < kVectors; ++v) {
      counts_[v] = hn::Add(counts_[v], pixels(v));
      hn::StoreU(counts_[v], Bytes(), to + v * kStep);
    }
  }

 private:
  // The bits of the columns of row y.
  HWY_INLINE void spread(int32_t y) {
    const int64_t row = HWY_MIN(HWY_MAX(y, 0), column_.rows - 1);
    const uint64_t* words = column_.words + row * column_.row_words;
    const uint64_t bits[2] = {words[0] << radius_ | words[-1] >> (64 - radius_),
                              words[1] << radius_ | words[0] >> (64 - radius_)};
    hwy::CopyBytes<sizeof(bits)>(bits, bits_);
  }
  // -1 for those that are set.
  HWY_INLINE hn::Vec<Bytes> pixels(int32_t v) const {
    return hn::VecFromMask(Bytes(), hn::LoadMaskBits(Bytes(), bits_ + v * kStep / 8));
  }

  const WordColumn column_;
  const int32_t radius_;
  uint8_t bits_[kColumns / 8 + kSpareMaskBytes] = {};
  hn::Vec<Bytes> counts_[kVectors];
};

// Rows of sums; what is behind the columns of a row may be read but is not used.
struct Sums {
  alignas(64) uint8_t rows[kRows][kColumns + 64] = {};

  // Adds another's sums of the columns from `shift` on.
  HWY_INLINE void add(const Sums& other, int32_t shift, int32_t row, int32_t columns) {
    const Bytes d;
    for (int32_t x = 0; x < columns; x += kStep) {
      const auto more = hn::LoadU(d, other.rows[row] + x + shift);
      hn::StoreU(hn::Add(hn::LoadU(d, rows[row] + x), more), d, rows[row] + x);
    }
  }
  HWY_INLINE void copy(const Sums& other, int32_t row) {
    hwy::CopyBytes<64>(other.rows[row], rows[row]);
  }
};

// Windows are `eights` runs of eight columns behind some others, which are in `rest`.
HWY_INLINE void compare(uint8_t* to, const uint8_t* rest, const uint8_t* runs, int32_t eights,
                        int16_t limit) {
  const Words d;
  for (int32_t x = 0; x < 64; x += kWordStep) {
    auto sum = hn::PromoteTo(d, hn::LoadU(HalfBytes(), rest + x));
    for (int32_t i = 0; i < eights; ++i) {
      sum = hn::Add(sum, hn::PromoteTo(d, hn::LoadU(HalfBytes(), runs + x + 8 * i)));
    }
    hn::StoreMaskBits(d, hn::Gt(sum, hn::Set(d, limit)), to + x / 8);
  }
}

}  // namespace

// Sums of one, two, four columns are doubled up; those for the binary digits of ksize, side by
// side, cover a window. Up to seven columns of up to 31 rows fit a byte, and so do eight.
void find_majorities(uint64_t* to, int64_t to_row_words, const WordColumn& column, int32_t first,
                     int32_t end) {
  const int32_t ksize = column.ksize;
  const auto limit = static_cast<int16_t>(ksize * ksize / 2);
  ColumnCounts counts(column, first);
  Sums runs;
  Sums rest;
  for (int32_t y = first; y < end; y += kRows) {
    const int32_t rows = HWY_MIN(kRows, end - y);
    int32_t at = 1;
    for (int32_t i = 0; i < rows; ++i) {
      counts.next(y + i, runs.rows[i]);
      rest.copy(runs, i);
      runs.add(runs, 1, i, kColumns);
    }
    for (int32_t run = 2; run < 8; run *= 2) {
      if ((ksize & run) != 0) {
        for (int32_t i = 0; i < rows; ++i) rest.add(runs, at, i, 64);
        at += run;
      }
      for (int32_t i = 0; i < rows; ++i) runs.add(runs, run, i, kColumns);
    }
    for (int32_t i = 0; i < rows; ++i, to += to_row_words) {
      uint8_t word[8 + kSpareMaskBytes];
      compare(word, rest.rows[i], runs.rows[i] + at, ksize / 8, limit);
      hwy::CopyBytes<8>(word, to);
    }
  }
}

#endif

}  // namespace kel::imageprocess::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace kel::imageprocess {

HWY_EXPORT(find_majorities);

void find_majorities(uint64_t* to, int64_t to_row_words, const WordColumn& column, int32_t first,
                     int32_t end) {
  HWY_DYNAMIC_DISPATCH(find_majorities)(to, to_row_words, column, first, end);
}

}  // namespace kel::imageprocess
#endif
