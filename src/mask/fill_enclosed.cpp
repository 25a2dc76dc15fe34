#include "mask/fill_enclosed.h"

#include <algorithm>
#include <utility>
#include <vector>

namespace kel::mask {
namespace {

constexpr int kLastBit = BitMask::kBits - 1;

// The bits of the runs of `free` from `seeds`, all in runs, up to their ends.
uint64_t fill_up(uint64_t free, uint64_t seeds) { return (free & ~(free + seeds)) | seeds; }

uint64_t fill_down(uint64_t free, uint64_t seeds) {
  for (int shift = 1; shift < BitMask::kBits; shift *= 2) {
    seeds |= free & (seeds >> shift);
    free &= free >> shift;
  }
  return seeds;
}

// Spreads over unset pixels, a word at a time.
class Flood {
 public:
  explicit Flood(const BitMask& shapes)
      : shapes_(shapes),
        reached_(shapes.width(), shapes.height()),
        is_waiting_(static_cast<size_t>(shapes.row_words() * shapes.height())) {}

  void spread_from_border();
  BitMask take_unreached();
  bool can_fill_more_than(int64_t area);
  bool fills_more_than(int64_t area);

 private:
  // Columns of words, and rows; the last ones included.
  struct Box {
    int64_t left;
    int64_t top;
    int64_t right;
    int64_t bottom;
  };
  int64_t row_words() const { return shapes_.row_words(); }
  Box joined(const Box& box, int64_t i) const {
    const int64_t x = i % row_words();
    const int64_t y = i / row_words();
    return {std::min(box.left, x), std::min(box.top, y), std::max(box.right, x),
            std::max(box.bottom, y)};
  }
  // With a border of one pixel, a word counting as all of its pixels.
  static bool more_than(const Box& box, int64_t area) {
    const int64_t width = (box.right - box.left + 1) * BitMask::kBits;
    const int64_t height = box.bottom - box.top + 1;
    return width > 0 && height > 0 && (width + 1) * (height + 1) > area;
  }
  int64_t count() const { return static_cast<int64_t>(is_waiting_.size()); }
  uint64_t free(int64_t i) const { return ~shapes_.row(0)[i]; }
  uint64_t& reached(int64_t i) { return reached_.row(0)[i]; }
  uint64_t missing(int64_t i) { return free(i) & ~reached(i); }

  void sweep_down();
  void fill_row(int y);
  void wait(int64_t i);
  uint64_t touched_by_neighbours(int64_t i);
  void reach(int64_t i, uint64_t seeds);
  void spread();

  const BitMask& shapes_;
  BitMask reached_;
  std::vector<bool> is_waiting_;  // words in waiting_
  std::vector<int64_t> waiting_;  // words with pixels that reached ones touch
  Box filled_{};
};

// After the sweep only pixels are missing that are reached from below.
void Flood::spread_from_border() {
  sweep_down();
  for (int y = shapes_.height() - 2; y >= 0; --y) {
    const uint64_t* const blocked = shapes_.row(y);
    const uint64_t* const here = reached_.row(y);
    const uint64_t* const below = reached_.row(y + 1);
    uint64_t missing_below = 0;
    for (int64_t i = 0; i < row_words(); ++i) missing_below |= ~blocked[i] & ~here[i] & below[i];
    if (missing_below == 0) continue;
    for (int64_t i = 0; i < row_words(); ++i) {
      if ((~blocked[i] & ~here[i] & below[i]) != 0) wait(y * row_words() + i);
    }
  }
  spread();
}

// What a row takes from the one above and from the border goes on along the row.
void Flood::sweep_down() {
  const int last_bit = (shapes_.width() - 1) % BitMask::kBits;
  const int64_t last = row_words() - 1;
  for (int y = 0; y < shapes_.height(); ++y) {
    const uint64_t* const blocked = shapes_.row(y);
    uint64_t* const here = reached_.row(y);
    if (y == 0 || y == shapes_.height() - 1) {
      for (int64_t i = 0; i <= last; ++i) here[i] = ~blocked[i];
      continue;
    }
    const uint64_t* const above = reached_.row(y - 1);
    for (int64_t i = 0; i <= last; ++i) here[i] = ~blocked[i] & above[i];
    here[0] |= ~blocked[0] & 1;
    here[last] |= ~blocked[last] & (uint64_t{1} << last_bit);
    fill_row(y);
  }
}

void Flood::fill_row(int y) {
  const uint64_t* const blocked = shapes_.row(y);
  uint64_t* const here = reached_.row(y);
  uint64_t lacking = 0;
  for (int64_t i = 0; i < row_words(); ++i) lacking |= ~blocked[i] & ~here[i];
  if (lacking == 0) return;
  uint64_t carry = 0;
  for (int64_t i = 0; i < row_words(); ++i) {
    const uint64_t free = ~blocked[i];
    if (here[i] != free) here[i] = fill_up(free, here[i] | (free & carry));
    carry = here[i] >> kLastBit;
  }
  carry = 0;
  for (int64_t i = row_words() - 1; i >= 0; --i) {
    const uint64_t free = ~blocked[i];
    if (here[i] != free) here[i] = fill_down(free, here[i] | (free & carry << kLastBit));
    carry = here[i] & 1;
  }
}

void Flood::wait(int64_t i) {
  if (is_waiting_[static_cast<size_t>(i)]) return;
  is_waiting_[static_cast<size_t>(i)] = true;
  waiting_.push_back(i);
}

// Fills a word from some of its bits and calls on the neighbours that the new ones touch.
void Flood::reach(int64_t i, uint64_t seeds) {
  const int64_t words = row_words();
  const int64_t x = i % words;
  const uint64_t added = fill_down(free(i), fill_up(free(i), seeds)) & ~reached(i);
  reached(i) |= added;
  filled_ = joined(filled_, i);
  if (i >= words && (missing(i - words) & added) != 0) wait(i - words);
  if (i + words < count() && (missing(i + words) & added) != 0) wait(i + words);
  if (x > 0 && (missing(i - 1) >> kLastBit & added & 1) != 0) wait(i - 1);
  if (x + 1 < words && (missing(i + 1) & added >> kLastBit & 1) != 0) wait(i + 1);
}

uint64_t Flood::touched_by_neighbours(int64_t i) {
  const int64_t words = row_words();
  const int64_t x = i % words;
  uint64_t around = 0;
  if (i >= words) around |= reached(i - words);
  if (i + words < count()) around |= reached(i + words);
  if (x > 0) around |= reached(i - 1) >> kLastBit;
  if (x + 1 < words) around |= reached(i + 1) << kLastBit;
  return missing(i) & around;
}

void Flood::spread() {
  while (!waiting_.empty()) {
    const int64_t i = waiting_.back();
    waiting_.pop_back();
    is_waiting_[static_cast<size_t>(i)] = false;
    reach(i, touched_by_neighbours(i));
  }
}

// Goes on with what is left, area by area.
bool Flood::fills_more_than(int64_t area) {
  for (int64_t i = 0; i < count(); ++i) {
    while (missing(i) != 0) {  // an area, or a part of it that others do not touch
      filled_ = {i % row_words(), i / row_words(), i % row_words(), i / row_words()};
      reach(i, missing(i) & (~missing(i) + 1));
      spread();
      if (more_than(filled_, area)) return true;
    }
  }
  return false;
}

// Whether an area that is left can be so large: not if all that is left is within a smaller box.
bool Flood::can_fill_more_than(int64_t area) {
  if (int64_t{shapes_.width()} * shapes_.height() <= area) return false;
  Box left{row_words(), shapes_.height(), 0, 0};
  for (int64_t i = 0; i < count(); ++i) {
    if (missing(i) != 0) left = joined(left, i);
  }
  return more_than(left, area);
}

// Leaves nothing behind.
BitMask Flood::take_unreached() {
  for (int y = 0; y < reached_.height(); ++y) {
    uint64_t* const words = reached_.row(y);
    for (int64_t i = 0; i < row_words(); ++i) words[i] = ~words[i];
    words[row_words() - 1] &= reached_.last_word();
  }
  return std::move(reached_);
}

}  // namespace

BitMask fill_enclosed(const BitMask& shapes, int64_t large, bool& has_large_hole) {
  Flood flood(shapes);
  flood.spread_from_border();
  has_large_hole = flood.can_fill_more_than(large) && Flood(flood).fills_more_than(large);
  return flood.take_unreached();
}

}  // namespace kel::mask
