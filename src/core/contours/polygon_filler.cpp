#include "core/contours/polygon_filler.h"

#include <algorithm>
#include <cstdlib>
#include <utility>

#include "core/contours/draw_line.h"

namespace kel {
namespace {

// Horizontal positions are fixed-point numbers with 16 fractional bits, as in OpenCV: the slope of
// an edge is truncated to that, so its rounding decides which pixels are filled.
constexpr int kFractionBits = 16;
constexpr int64_t kOne = int64_t{1} << kFractionBits;

// Bit i tells whether an odd number of the bits up to i is set.
uint64_t parity_up_to_each(uint64_t bits) {
  for (int shift = 1; shift < BitMask::kBits; shift *= 2) bits ^= bits << shift;
  return bits;
}

}  // namespace

void PolygonFiller::add(const Contour& polygon) {
  if (polygon.empty()) return;
  cv::Point from = polygon.back();
  for (const cv::Point to : polygon) {
    draw_side(from, to);
    cross_rows(from, to, true);
    from = to;
  }
}

void PolygonFiller::add_inside(const Contour& polygon) {
  if (polygon.empty()) return;
  cv::Point from = polygon.back();
  for (const cv::Point to : polygon) {
    cross_rows(from, to, false);
    from = to;
  }
}

void PolygonFiller::draw_side(cv::Point from, cv::Point to) {
  if (mask_.contains(to.x, to.y) && mask_.contains(from.x, from.y) &&
      std::abs(from.x - to.x) <= 1 && std::abs(from.y - to.y) <= 1) {
    mask_.set(to.x, to.y);  // the other end belongs to the side before
  } else {
    draw_line(mask_, from, to);
  }
}

// The row of the lower end is not crossed. Where an edge passes a pixel exactly, the pixel is
// filled, whichever side is inside; if the edge is not cut off, its line has set it.
void PolygonFiller::cross_rows(cv::Point from, cv::Point to, bool has_line) {
  constexpr int32_t kTall = 1 << (kFractionBits - 1);  // rows in which rounding adds up to a half
  const auto [upper, lower] = from.y < to.y ? std::pair(from, to) : std::pair(to, from);
  const int32_t row = std::max(upper.y, 0);
  const int32_t end_row = std::min(lower.y, mask_.height());
  if (row >= end_row) return;
  first_row_ = std::min(first_row_, row);
  last_row_ = std::max(last_row_, end_row - 1);
  const int64_t width = (int64_t{lower.x} - upper.x) * kOne;
  const int64_t height = int64_t{lower.y} - upper.y;
  const int64_t slope = height == 1 ? width : width / height;
  int64_t x = upper.x * kOne + (int64_t{row} - upper.y) * slope;
  const bool is_whole = has_line && mask_.contains(from.x, from.y) && mask_.contains(to.x, to.y);
  if (is_whole && height < kTall && std::max(from.x, to.x) + 1 < mask_.width()) {
    return toggle_inside(x, slope, row, end_row);
  }
  for (int32_t y = row; y < end_row; ++y, x += slope) {
    const int64_t column = x >> kFractionBits;
    toggle(column + 1, y);
    if ((is_whole && height < kTall) || column * kOne != x) continue;
    if (mask_.contains(column, y)) mask_.set(static_cast<int>(column), y);
  }
}

// Behind each pixel of an edge, all of which have another one to their right.
void PolygonFiller::toggle_inside(int64_t x, int64_t slope, int32_t row, int32_t end_row) {
  const int64_t last = x + (int64_t{end_row} - row - 1) * slope;
  const auto word_of = [](int64_t at) { return ((at >> kFractionBits) + 1) / BitMask::kBits; };
  first_word_ = std::min(first_word_, word_of(std::min(x, last)));
  last_word_ = std::max(last_word_, word_of(std::max(x, last)));
  uint64_t* words = toggles_.row(row);
  const int64_t row_words = toggles_.row_words();
  for (int32_t y = row; y < end_row; ++y, x += slope, words += row_words) {
    const auto column = static_cast<uint64_t>((x >> kFractionBits) + 1);
    words[column / BitMask::kBits] ^= uint64_t{1} << (column % BitMask::kBits);
  }
}

void PolygonFiller::toggle(int64_t column, int32_t row) {
  if (column >= mask_.width()) {  // what is inside goes on to the end of the row
    last_word_ = mask_.row_words() - 1;
    return;
  }
  column = std::max<int64_t>(column, 0);
  const int64_t word = column / BitMask::kBits;
  first_word_ = std::min(first_word_, word);
  last_word_ = std::max(last_word_, word);
  toggles_.row(row)[word] ^= uint64_t{1} << (column % BitMask::kBits);
}

void PolygonFiller::fill() {
  for (int32_t y = first_row_; y <= last_row_; ++y) fill_row(y);
  first_row_ = INT32_MAX;
  last_row_ = -1;
  first_word_ = INT64_MAX;
  last_word_ = -1;
}

void PolygonFiller::fill_row(int32_t row) {
  uint64_t* const turns = toggles_.row(row);
  uint64_t* const words = mask_.row(row);
  uint64_t inside = 0;  // all bits or none, where the word begins
  for (int64_t i = first_word_; i <= last_word_; ++i) {
    if (turns[i] == 0) {
      const int64_t next = toggles_.find_other(row, i + 1, last_word_ + 1, 0);
      if (inside != 0) std::fill(words + i, words + next, inside);
      i = next;
      if (next > last_word_) break;
    }
    const uint64_t filled = parity_up_to_each(std::exchange(turns[i], 0)) ^ inside;
    words[i] |= filled;
    inside = 0 - (filled >> (BitMask::kBits - 1));
  }
  words[mask_.row_words() - 1] &= mask_.last_word();
}

}  // namespace kel
