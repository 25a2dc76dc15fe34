#include "core/contours/thick_line.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdlib>
#include <limits>
#include <utility>

#include "core/contours/clip_line.h"

// The rounding of OpenCV 4.6 decides which pixels belong to a line: corners are rounded to
// fixed-point numbers, the four sides drawn pixel by pixel, and rows filled between the slopes of
// the two sides that cross them.
namespace kel {
namespace {

constexpr int kFractionBits = 16;
constexpr int64_t kOne = int64_t{1} << kFractionBits;
constexpr int64_t kHalf = kOne / 2;

int64_t rounded(int64_t value) { return (value + kHalf) >> kFractionBits; }

// Rows [begin, end).
struct Rows {
  int64_t begin;
  int64_t end;
};

using Corners = std::array<Point64, 4>;  // fixed-point; at `from`, and opposite, then at `to`

void set_if_inside(BitMask& mask, int64_t x, int64_t y) {
  if (mask.contains(x, y)) mask.set(static_cast<int>(x), static_cast<int>(y));
}

// Draws the first and last `kept` pixels of a side; those between are not needed.
void draw_side(BitMask& mask, Point64 from, Point64 to, int64_t kept) {
  if (!clip_line(mask.width() * kOne, mask.height() * kOne, from, to)) return;
  const bool is_flat = std::abs(to.x - from.x) > std::abs(to.y - from.y);
  const auto along = [&](Point64& p) -> int64_t& { return is_flat ? p.x : p.y; };
  const auto across = [&](Point64& p) -> int64_t& { return is_flat ? p.y : p.x; };
  if (along(to) < along(from)) std::swap(from, to);
  const int64_t length = along(to) - along(from);
  const int64_t step = (across(to) - across(from)) * kOne / (length | 1);
  const int64_t count = (length >> kFractionBits) + 1;
  const auto draw = [&](int64_t i) {
    const int64_t a = rounded(along(from)) + i;
    const int64_t b = (across(from) + kHalf + i * step) >> kFractionBits;
    is_flat ? set_if_inside(mask, a, b) : set_if_inside(mask, b, a);
  };
  set_if_inside(mask, rounded(to.x), rounded(to.y));
  for (int64_t i = 0; i < std::min(kept, count); ++i) draw(i);
  for (int64_t i = std::max(kept, count - std::min(kept, count)); i < count; ++i) draw(i);
}

// A way down the sides of a quadrangle.
struct Slope {
  size_t corner;  // where the side that is followed ends
  size_t step;    // 1, or 3 for the other way round
  int64_t x;
  int64_t dx;
  int64_t row;
  int64_t end_row;
};

// Goes on to the first side that ends below `row`. False when there is none: `sides` counts those
// that are left for both ways.
bool next_side(Slope& slope, const Corners& corners, int64_t row, int& sides) {
  size_t from = slope.corner;
  while (sides-- > 0) {
    const size_t to = (from + slope.step) % corners.size();
    const int64_t end_row = rounded(corners[to].y);
    if (end_row > row) {
      const int64_t rows = end_row - row;
      const int64_t dx = ((corners[to].x - corners[from].x) * 2 + rows) / (2 * rows);
      slope = {to, slope.step, corners[from].x, dx, row, end_row};
      return true;
    }
    from = to;
  }
  return false;
}

void fill_rows(BitMask& mask, const Slope& a, const Slope& b, Rows rows) {
  for (int64_t y = rows.begin; y < rows.end; ++y) {
    const auto [left, right] = std::minmax({a.x + a.dx * (y - a.row), b.x + b.dx * (y - b.row)});
    mask.set_span(static_cast<int>(y), rounded(left), rounded(right) + 1);
  }
}

// Calls visit(slope, slope, rows) for rows between corners, from the top.
template <typename Visit>
void visit_slopes(const Corners& corners, int64_t height, Visit visit) {
  size_t top = 0;
  int64_t bottom = corners[0].y;
  for (size_t i = 1; i < corners.size(); ++i) {
    if (corners[i].y < corners[top].y) top = i;
    bottom = std::max(bottom, corners[i].y);
  }
  int64_t row = rounded(corners[top].y);
  const int64_t end = std::min(rounded(bottom) + 1, height);
  Slope a{top, 1, -kOne, 0, row, row};
  Slope b{top, 3, -kOne, 0, row, row};
  for (int sides = 4; row < end;) {
    if (row >= a.end_row) next_side(a, corners, row, sides);
    if (row >= b.end_row) next_side(b, corners, row, sides);
    if (sides < 0) return;
    const int64_t next = std::min({a.end_row, b.end_row, end});
    visit(a, b, Rows{row, next});
    row = next;
  }
}

// The distance from the line below which every pixel certainly lies within `radius` of an end,
// three pixels of rounding included.
double covered_reach(double length, int radius) {
  const double near = radius - 3.0;
  const double square = near * near - length * length / 4.0;
  return near > 0.0 && square > 0.0 ? std::sqrt(square) : 0.0;
}

// The rows of the part that is `reach` to `radius` away from the line towards `normal`.
Rows rows_between(cv::Point from, cv::Point to, double reach, double normal_y, int radius,
                  int height) {
  constexpr int kRounding = 2;
  const auto [first, last] = std::minmax({normal_y * reach, normal_y * radius});
  const auto begin = static_cast<int64_t>(std::floor(first)) + std::min(from.y, to.y) - kRounding;
  const auto end = static_cast<int64_t>(std::ceil(last)) + std::max(from.y, to.y) + kRounding + 1;
  return {std::max<int64_t>(begin, 0), std::min<int64_t>(end, height)};
}

void fill(BitMask& mask, const Corners& corners, Rows kept) {
  visit_slopes(corners, mask.height(), [&](const Slope& a, const Slope& b, Rows rows) {
    fill_rows(mask, a, b, {std::max(rows.begin, kept.begin), std::min(rows.end, kept.end)});
  });
}

}  // namespace

void draw_thick_line(BitMask& mask, cv::Point from, cv::Point to, int radius) {
  const auto dx = static_cast<double>(int64_t{from.x} - to.x);
  const auto dy = static_cast<double>(int64_t{to.y} - from.y);
  const double length = std::sqrt(dx * dx + dy * dy);
  if (length == 0.0) return;
  const double scale = static_cast<double>(radius * kOne) / length;
  const int64_t nx = std::lrint(dy * scale);
  const int64_t ny = std::lrint(dx * scale);
  const Point64 a{from.x * kOne, from.y * kOne};
  const Point64 b{to.x * kOne, to.y * kOne};
  const Corners corners{
      {{a.x + nx, a.y + ny}, {a.x - nx, a.y - ny}, {b.x - nx, b.y - ny}, {b.x + nx, b.y + ny}}};

  const double reach = covered_reach(length, radius);
  const auto kept = static_cast<int64_t>(radius - reach) + 3;
  draw_side(mask, corners[3], corners[0], std::numeric_limits<int64_t>::max());
  draw_side(mask, corners[0], corners[1], kept);
  draw_side(mask, corners[1], corners[2], std::numeric_limits<int64_t>::max());
  draw_side(mask, corners[2], corners[3], kept);
  const double normal_y = dx / length;
  const Rows one = rows_between(from, to, reach, normal_y, radius, mask.height());
  const Rows other = rows_between(from, to, reach, -normal_y, radius, mask.height());
  if (one.begin < other.end && other.begin < one.end) {
    fill(mask, corners, {std::min(one.begin, other.begin), std::max(one.end, other.end)});
  } else {
    fill(mask, corners, one);
    fill(mask, corners, other);
  }
}

}  // namespace kel
