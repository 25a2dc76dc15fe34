#include "mask/majority.h"

#include <algorithm>
#include <vector>

#include "core/kernels/find_majorities.h"

namespace kel::mask {
namespace {

using Words = std::vector<uint64_t, Uninitialised<uint64_t>>;

constexpr int32_t kRows = 8;  // of a tile, which is a word wide
constexpr uint64_t kAll = ~uint64_t{0};

class Majority {
 public:
  Majority(const BitMask& mask, int32_t ksize)
      : height_(mask.height()),
        ksize_(ksize),
        across_(mask.row_words()),
        row_words_(across_ + 2),
        down_((height_ + kRows - 1) / kRows),
        padded_(static_cast<size_t>(row_words_ * height_)),
        any_(static_cast<size_t>(across_ * down_)),
        all_(any_.size()) {
    for (int32_t y = 0; y < height_; ++y) pad(mask, y);
    for (int32_t tile = 0; tile < down_; ++tile) gather(tile);
  }

  void run(BitMask& result) const {
    const int32_t reach = (ksize_ / 2 + kRows - 1) / kRows;
    for (int64_t word = 0; word < across_; ++word) {
      for (int32_t tile = 0; tile < down_;) {
        const uint64_t kind = kind_of(word, tile, reach);
        int32_t end = tile + 1;
        while (end < down_ && kind_of(word, end, reach) == kind) ++end;
        fill(result, word, kind, kRows * tile, std::min(kRows * end, height_));
        tile = end;
      }
    }
    for (int32_t y = 0; y < height_; ++y) result.row(y)[across_ - 1] &= result.last_word();
  }

 private:
  static constexpr uint64_t kMixed = 1;  // a tile's value, else none or all

  uint64_t* row(int32_t y) { return padded_.data() + y * row_words_; }
  const uint64_t* row(int32_t y) const { return padded_.data() + y * row_words_; }

  // A row between words of its outermost pixels.
  void pad(const BitMask& mask, int32_t y) {
    uint64_t* const to = row(y);
    std::copy_n(mask.row(y), across_, to + 1);
    to[0] = 0 - (to[1] & 1);
    const int last = (mask.width() - 1) % BitMask::kBits;
    to[across_ + 1] = 0 - (to[across_] >> last & 1);
    to[across_] |= to[across_ + 1] & ~mask.last_word();
  }

  // What the rows of a row of tiles have in the words' reach in common.
  void gather(int32_t tile) {
    const int32_t end = std::min(kRows * (tile + 1), height_);
    Words any(row(kRows * tile), row(kRows * tile) + row_words_);
    Words all = any;
    for (int32_t y = kRows * tile + 1; y < end; ++y) {
      for (int64_t i = 0; i < row_words_; ++i) {
        any[static_cast<size_t>(i)] |= row(y)[i];
        all[static_cast<size_t>(i)] &= row(y)[i];
      }
    }
    const int32_t radius = ksize_ / 2;
    for (size_t i = 0; i < static_cast<size_t>(across_); ++i) {
      const size_t at = static_cast<size_t>(tile * across_) + i;
      any_[at] = any[i] >> (64 - radius) | any[i + 1] | any[i + 2] << (64 - radius);
      all_[at] = ~(~all[i] >> (64 - radius) | ~all[i + 1] | ~all[i + 2] << (64 - radius));
    }
  }

  uint64_t kind_of(int64_t word, int32_t tile, int32_t reach) const {
    uint64_t any = 0;
    uint64_t all = kAll;
    const int32_t end = std::min(tile + reach + 1, down_);
    for (int32_t i = std::max(tile - reach, 0); i < end; ++i) {
      any |= any_[static_cast<size_t>(i * across_ + word)];
      all &= all_[static_cast<size_t>(i * across_ + word)];
    }
    if (any == 0) return 0;
    return all == kAll ? kAll : kMixed;
  }

  void fill(BitMask& result, int64_t word, uint64_t kind, int32_t first, int32_t end) const {
    if (kind == kMixed) {
      return imageprocess::find_majorities(result.row(first) + word, across_,
                                           {row(0) + word + 1, row_words_, height_, ksize_}, first,
                                           end);
    }
    for (int32_t y = first; y < end; ++y) result.row(y)[word] = kind;
  }

  int32_t height_;
  int32_t ksize_;
  int64_t across_;     // words in a row
  int64_t row_words_;  // with those beside
  int32_t down_;       // rows of tiles
  Words padded_;
  Words any_;  // of the tiles' rows, with what is within reach of them: bits that some row has
  Words all_;  // bits that all rows have
};

}  // namespace

BitMask majority(const BitMask& mask, int32_t ksize) {
  BitMask result(mask.width(), mask.height());
  Majority(mask, ksize).run(result);
  return result;
}

}  // namespace kel::mask
