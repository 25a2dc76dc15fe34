#include "core/contours/stroke_contours.h"

#include <algorithm>

#include "core/contours/dilate_by_disc.h"
#include "core/contours/draw_line.h"
#include "core/contours/thick_line.h"

namespace kel {
namespace {

// Calls visit(from, to) for each side of the contours.
template <typename Visit>
void for_each_side(const Contours& contours, Visit visit) {
  for (const Contour& contour : contours) {
    if (contour.empty()) continue;
    cv::Point from = contour.back();
    for (const cv::Point to : contour) {
      visit(from, to);
      from = to;
    }
  }
}

// The straight part of a side. A horizontal one is left to the discs around all of its pixels,
// which together are the same.
void draw_straight(BitMask& mask, BitMask& centres, cv::Point from, cv::Point to, int radius) {
  if (from.y == to.y) {
    centres.set_span(to.y, std::min(from.x, to.x), int64_t{std::max(from.x, to.x)} + 1);
  } else if (from.x == to.x) {
    const auto [top, bottom] = std::minmax(from.y, to.y);
    for (int y = top; y <= bottom; ++y) {
      mask.set_span(y, int64_t{to.x} - radius, int64_t{to.x} + radius + 1);
    }
  } else {
    draw_thick_line(mask, from, to, radius);
  }
}

}  // namespace

// A side ends in a disc at either end; of a closed contour each is the end of another side, too.
void stroke_contours(BitMask& mask, const Contours& contours, int radius) {
  if (radius == 0) {
    for_each_side(contours, [&](cv::Point from, cv::Point to) { draw_line(mask, from, to); });
    return;
  }
  BitMask centres(mask.width(), mask.height());
  for_each_side(contours, [&](cv::Point from, cv::Point to) {
    centres.set(to.x, to.y);
    draw_straight(mask, centres, from, to, radius);
  });
  dilate_by_disc(mask, centres, radius);
}

}  // namespace kel
