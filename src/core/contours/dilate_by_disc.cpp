#include "core/contours/dilate_by_disc.h"

#include <vector>

namespace kel {
namespace {

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

}  // namespace

// Discs grow wider towards their middle row, so that spans, once joined, stay joined.
void dilate_by_disc(BitMask& mask, const BitMask& centres, int radius) {
  const std::vector<int32_t> widths = half_widths(radius);
  std::vector<Span> spans;
  for (int y = 0; y < mask.height(); ++y) {
    spans.clear();
    centres.for_each_run(y, [&](int32_t begin, int32_t end) { spans.push_back({begin, end}); });
    if (spans.empty()) continue;
    for (int i = std::min(radius, std::max(y, mask.height() - 1 - y)); i >= 0; --i) {
      const int32_t reach = widths[static_cast<size_t>(i)];
      join_neighbours(spans, reach);
      set_spans(mask, y - i, spans, reach);
      if (i != 0) set_spans(mask, y + i, spans, reach);
    }
  }
}

}  // namespace kel
