// A mask with a bit for each pixel, an eighth of the memory: spans of pixels are set and searched a
// word at a time.
#pragma once

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <opencv2/core/mat.hpp>
#include <vector>

#include "core/pixel_region.h"
#include "core/uninitialised.h"

namespace kel {

class BitMask {
 public:
  static constexpr int kBits = 64;  // of a word

  // No pixel is set.
  BitMask(int width, int height) : BitMask(width, height, words_of(width)) {
    std::fill(words_.begin(), words_.end(), 0);
  }
  // The pixels of a plane of gray bytes that are above `level`.
  BitMask(const imageprocess::Plane& gray, uint8_t level);
  BitMask(const cv::Mat& gray, uint8_t level);  // CV_8UC1
  // 255 where a pixel is set, 0 elsewhere, for a CV_8UC1 matrix of the same size.
  void write(cv::Mat& gray) const;

  int width() const { return width_; }
  int height() const { return height_; }
  // Words in a row of so many pixels.
  static int64_t words_of(int64_t width) { return (width + kBits - 1) / kBits; }
  // The bits of the last word of such a row that stand for pixels.
  static uint64_t last_word_of(int64_t width) {
    return ~uint64_t{0} >> (kBits - 1 - (width - 1) % kBits);
  }

  // Words in a row; the bits behind the last pixel are 0.
  int64_t row_words() const { return row_words_; }
  uint64_t last_word() const { return last_word_of(width_); }
  uint64_t* row(int y) { return words_.data() + y * row_words_; }
  const uint64_t* row(int y) const { return words_.data() + y * row_words_; }

  bool contains(int64_t x, int64_t y) const {
    return x >= 0 && y >= 0 && x < width_ && y < height_;
  }
  // Inside the mask only.
  bool is_set(int x, int y) const { return (row(y)[x / kBits] >> (x % kBits) & 1) != 0; }
  void set(int x, int y) { row(y)[x / kBits] |= uint64_t{1} << (x % kBits); }
  // Columns [begin, end) of a row inside the mask, as far as there are such columns.
  void set_span(int y, int64_t begin, int64_t end);

  // Calls visit(begin, end) for the columns [begin, end) of each run of set pixels of a row.
  template <typename Visit>
  void for_each_run(int y, Visit visit) const;

  // The first of the words [begin, end) of a row that is not `value`, or `end`.
  int64_t find_other(int y, int64_t begin, int64_t end, uint64_t value) const;

 private:
  // Not yet written.
  BitMask(int width, int height, int64_t row_words)
      : width_(width),
        height_(height),
        row_words_(row_words),
        words_(static_cast<size_t>(row_words * height)) {}

  int width_;
  int height_;
  int64_t row_words_;
  std::vector<uint64_t, Uninitialised<uint64_t>> words_;
};

inline void BitMask::set_span(int y, int64_t begin, int64_t end) {
  begin = std::max<int64_t>(begin, 0);
  end = std::min<int64_t>(end, width_);
  if (begin >= end) return;
  uint64_t* first = row(y) + begin / kBits;
  uint64_t* const last = row(y) + (end - 1) / kBits;
  uint64_t bits = ~uint64_t{0} << (begin % kBits);
  for (; first != last; bits = ~uint64_t{0}) *first++ |= bits;
  *last |= bits & ~uint64_t{0} >> (kBits - 1 - (end - 1) % kBits);
}

inline int64_t BitMask::find_other(int y, int64_t begin, int64_t end, uint64_t value) const {
  constexpr int64_t kAtOnce = 4;
  const uint64_t* words = row(y);
  int64_t i = begin;
  for (; i + kAtOnce <= end; i += kAtOnce) {
    uint64_t differences = 0;
    for (int64_t k = 0; k < kAtOnce; ++k) differences |= words[i + k] ^ value;
    if (differences != 0) break;
  }
  while (i < end && words[i] == value) ++i;
  return i;
}

template <typename Visit>
void BitMask::for_each_run(int y, Visit visit) const {
  const uint64_t* words = row(y);
  int64_t begin = 0;
  uint64_t inside = 0;  // all bits, while a run goes on from word to word
  for (int64_t i = 0; (i = find_other(y, i, row_words_, inside)) < row_words_; ++i) {
    uint64_t changes = words[i] ^ (words[i] << 1 | (inside & 1));
    for (; changes != 0; changes &= changes - 1) {
      const int64_t x = i * kBits + std::countr_zero(changes);
      if (inside != 0) visit(static_cast<int32_t>(begin), static_cast<int32_t>(x));
      begin = x;
      inside = ~inside;
    }
  }
  if (inside != 0) visit(static_cast<int32_t>(begin), width_);
}

}  // namespace kel
