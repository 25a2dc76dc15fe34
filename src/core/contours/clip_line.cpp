#include "core/contours/clip_line.h"

#include <initializer_list>

namespace kel {
namespace {

enum Side { kInside = 0, kBefore = 1, kBehind = 2 };

int side_of(int64_t value, int64_t last) {
  if (value < 0) return kBefore;
  return value > last ? kBehind : kInside;
}

int outside(Point64 p, int64_t right, int64_t bottom) {
  constexpr int kBitsOfSide = 2;
  return side_of(p.x, right) | side_of(p.y, bottom) << kBitsOfSide;
}

int64_t scaled(int64_t distance, int64_t over, int64_t under) {
  return static_cast<int64_t>(static_cast<double>(distance) * static_cast<double>(over) /
                              static_cast<double>(under));
}

void move_to_row(Point64& p, int64_t y, Point64 from, Point64 to) {
  p.x += scaled(y - p.y, to.x - from.x, to.y - from.y);
  p.y = y;
}

void move_to_column(Point64& p, int64_t x, Point64 from, Point64 to) {
  p.y += scaled(x - p.x, to.y - from.y, to.x - from.x);
  p.x = x;
}

}  // namespace

// The second end is cut along the line from where the first one has been moved to.
bool clip_line(int64_t width, int64_t height, Point64& from, Point64& to) {
  const int64_t right = width - 1;
  const int64_t bottom = height - 1;
  if ((outside(from, right, bottom) & outside(to, right, bottom)) != 0) return false;
  for (Point64* const end : {&from, &to}) {
    const int side = side_of(end->y, bottom);
    if (side != kInside) move_to_row(*end, side == kBefore ? 0 : bottom, from, to);
  }
  if ((side_of(from.x, right) & side_of(to.x, right)) != 0) return false;
  for (Point64* const end : {&from, &to}) {
    const int side = side_of(end->x, right);
    if (side != kInside) move_to_column(*end, side == kBefore ? 0 : right, from, to);
  }
  return true;
}

}  // namespace kel
