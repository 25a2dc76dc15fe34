#include "core/contours/dilate_by_disc.h"

#include <algorithm>
#include <vector>

#include "core/kernels/grow_rows.h"

namespace kel {
namespace {

// More spans in a row, and one more for each 512 pixels, take longer one by one than the row as a
// whole.
constexpr int64_t kFewSpans = 6;

// Half of the width of a disc in each row below its centre.
std::vector<int32_t> half_widths(int radius) {
  std::vector<int32_t> widths;
  int64_t width = radius;
  for (int64_t y = 0; y <= radius; ++y) {
    while (width * width + y * y > int64_t{radius} * radius) --width;
    widths.push_back(static_cast<int32_t>(width));
  }
  return widths;
}

struct Span {
  int32_t begin;
  int32_t end;
};

// Joins spans that overlap or adjoin when each grows by `reach` on both sides.
void join_neighbours(std::vector<Span>& spans, int32_t reach) {
  size_t kept = 0;
  for (size_t i = 1; i < spans.size(); ++i) {
    if (spans[i].begin - spans[kept].end <= 2 * reach) {
      spans[kept].end = spans[i].end;
    } else {
      spans[++kept] = spans[i];
    }
  }
  spans.resize(kept + 1);
}

void set_spans(BitMask& mask, int y, const std::vector<Span>& spans, int32_t reach) {
  if (y < 0 || y >= mask.height()) return;
  for (const Span span : spans) {
    mask.set_span(y, int64_t{span.begin} - reach, int64_t{span.end} + reach);
  }
}

// Discs around the pixels of row y. They grow wider towards their middle row, so that spans, once
// joined, stay joined.
void add_discs(BitMask& mask, int y, std::vector<Span>& spans, const std::vector<int32_t>& widths) {
  const auto radius = static_cast<int>(widths.size()) - 1;
  for (int i = std::min(radius, std::max(y, mask.height() - 1 - y)); i >= 0; --i) {
    const int32_t reach = widths[static_cast<size_t>(i)];
    join_neighbours(spans, reach);
    set_spans(mask, y - i, spans, reach);
    if (i != 0) set_spans(mask, y + i, spans, reach);
  }
}

// Discs around the pixels of rows with many of them, at a cost that does not depend on how many. A
// row of the result is the row of the centres, grown by the difference of the first two widths,
// joined with the rows above and below, grown by the next difference, and so on outwards: in the
// end each row has grown by the width of the disc there. Some rows are made side by side, so that
// what a step has stored is not needed at once.
class DenseRows {
 public:
  DenseRows(const BitMask& centres, const std::vector<int32_t>& widths)
      : centres_(centres),
        widths_(widths),
        in_use_(static_cast<size_t>(centres.height())),
        none_(static_cast<size_t>(centres.row_words())),
        no_rows_(kSideBySide, none_.data()),
        rows_(static_cast<size_t>(centres.height()) + size_t{2} * static_cast<size_t>(radius()),
              none_.data()),
        grown_(static_cast<size_t>(kSideBySide * stride())),
        next_(grown_) {}
  // Its pixels are in columns [columns.begin, columns.end).
  void use_row(int y, Span columns);
  void add_discs(BitMask& mask);

 private:
  // Words [begin, end) of a row; none at first.
  struct Words {
    int64_t begin = INT64_MAX;
    int64_t end = 0;
  };
  static constexpr int kSideBySide = 16;
  int64_t stride() const { return centres_.row_words() + 2; }  // with a word on either side
  int radius() const { return static_cast<int>(widths_.size()) - 1; }
  Words words_in_reach(int begin, int end) const;
  void start(int y, const imageprocess::WordRows& block);
  void grow(int y, const imageprocess::WordRows& block, int distance, int32_t steps);

  const BitMask& centres_;
  const std::vector<int32_t>& widths_;
  std::vector<Words> in_use_;   // of each row
  std::vector<uint64_t> none_;  // a row without centres
  std::vector<const uint64_t*> no_rows_;
  std::vector<const uint64_t*> rows_;  // with as many before and behind the mask as are in reach
  std::vector<uint64_t> grown_;
  std::vector<uint64_t> next_;
};

void DenseRows::use_row(int y, Span columns) {
  constexpr int kBits = BitMask::kBits;
  const auto reach = int64_t{radius()} / kBits + 1;
  in_use_[static_cast<size_t>(y)] = {
      std::max<int64_t>(columns.begin / kBits - reach, 0),
      std::min(columns.end / kBits + reach + 1, centres_.row_words())};
  rows_[static_cast<size_t>(y) + static_cast<size_t>(radius())] = centres_.row(y);
}

// Where discs around the pixels of rows can be that reach rows [begin, end).
DenseRows::Words DenseRows::words_in_reach(int begin, int end) const {
  Words words;
  end = std::min(end + radius(), centres_.height());
  for (int y = std::max(begin - radius(), 0); y < end; ++y) {
    words.begin = std::min(words.begin, in_use_[static_cast<size_t>(y)].begin);
    words.end = std::max(words.end, in_use_[static_cast<size_t>(y)].end);
  }
  return words;
}

// The rows of the centres, between words of 0.
void DenseRows::start(int y, const imageprocess::WordRows& block) {
  for (int64_t k = 0; k < block.count; ++k) {
    const uint64_t* const from = rows_[static_cast<size_t>(y + radius() + k)];
    uint64_t* const to = &grown_[static_cast<size_t>(k * block.stride + 1)];
    uint64_t* const next = &next_[static_cast<size_t>(k * block.stride + 1)];
    std::copy(from + block.begin, from + block.end, to + block.begin);
    to[block.begin - 1] = next[block.begin - 1] = 0;
    to[block.end] = next[block.end] = 0;
  }
}

// Rows from y on by some pixels, and joins them with the rows at a distance.
void DenseRows::grow(int y, const imageprocess::WordRows& block, int distance, int32_t steps) {
  const uint64_t* const* const above =
      &rows_[static_cast<size_t>(y) + static_cast<size_t>(radius() - distance)];
  const uint64_t* const* const below = above + 2 * distance;
  for (int64_t k = 0; steps == 0 && k < block.count; ++k) {
    uint64_t* const to = &grown_[static_cast<size_t>(k * block.stride + 1)];
    for (int64_t i = block.begin; i < block.end; ++i) to[i] |= above[k][i] | below[k][i];
  }
  for (; steps > 0; --steps) {
    const bool is_last = steps == 1;
    imageprocess::grow_rows(&next_[1], &grown_[1], block, is_last ? above : no_rows_.data(),
                            is_last ? below : no_rows_.data());
    grown_.swap(next_);
  }
}

void DenseRows::add_discs(BitMask& mask) {
  for (int y = 0; y < mask.height(); y += kSideBySide) {
    const int count = std::min(kSideBySide, mask.height() - y);
    const Words words = words_in_reach(y, y + count);
    if (words.begin >= words.end) continue;
    const imageprocess::WordRows block{words.begin, words.end, stride(), count};
    start(y, block);
    for (int i = 1; i <= radius(); ++i) {
      grow(y, block, i, widths_[static_cast<size_t>(i - 1)] - widths_[static_cast<size_t>(i)]);
    }
    for (int k = 0; k < count; ++k) {
      const uint64_t* const from = &grown_[static_cast<size_t>(k * block.stride + 1)];
      uint64_t* const to = mask.row(y + k);
      for (int64_t i = block.begin; i < block.end; ++i) to[i] |= from[i];
      to[mask.row_words() - 1] &= mask.last_word();
    }
  }
}

}  // namespace

void dilate_by_disc(BitMask& mask, const BitMask& centres, int radius) {
  const std::vector<int32_t> widths = half_widths(radius);
  DenseRows dense(centres, widths);
  std::vector<Span> spans;
  for (int y = 0; y < mask.height(); ++y) {
    spans.clear();
    centres.for_each_run(y, [&](int32_t begin, int32_t end) { spans.push_back({begin, end}); });
    if (spans.empty()) continue;
    if (static_cast<int64_t>(spans.size()) > kFewSpans + mask.row_words() / 8) {
      dense.use_row(y, {spans.front().begin, spans.back().end});
    } else {
      add_discs(mask, y, spans, widths);
    }
  }
  dense.add_discs(mask);
}

}  // namespace kel
