#include "core/contours/stroke_contours.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <vector>

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

// The straight parts of short diagonal sides, which most sides are: of each only few pixels are
// outside of the discs at its ends. They are found once.
class Straights {
 public:
  explicit Straights(int radius) : radius_(radius) {}
  void draw(BitMask& mask, cv::Point from, cv::Point to);

 private:
  static constexpr int kLongest = 8;
  static constexpr int kWidest = 64;  // beyond, finding them takes longer than drawing
  struct Beyond {
    bool is_known = false;
    std::vector<cv::Point> pixels;  // from the first end
  };
  void find(Beyond& beyond, cv::Point to) const;

  int radius_;
  std::array<Beyond, size_t{4} * kLongest> diagonals_;
};

void Straights::draw(BitMask& mask, cv::Point from, cv::Point to) {
  const int reach = radius_ + kLongest + 2;
  const cv::Point step = to - from;
  const bool is_short = std::abs(step.x) == std::abs(step.y) && std::abs(step.x) <= kLongest;
  const bool is_whole = mask.contains(from.x - reach, from.y - reach) &&
                        mask.contains(from.x + reach, from.y + reach);
  if (radius_ > kWidest || !is_short || !is_whole) return draw_thick_line(mask, from, to, radius_);
  const int kind = (step.x > 0 ? 1 : 0) + (step.y > 0 ? 2 : 0);
  Beyond& beyond =
      diagonals_[size_t{4} * static_cast<size_t>(std::abs(step.x) - 1) + static_cast<size_t>(kind)];
  if (!beyond.is_known) find(beyond, step);
  for (const cv::Point p : beyond.pixels) mask.set(from.x + p.x, from.y + p.y);
}

void Straights::find(Beyond& beyond, cv::Point to) const {
  const int reach = radius_ + kLongest + 2;
  const cv::Point from(reach, reach);
  BitMask line(2 * reach + 1, 2 * reach + 1);
  BitMask discs = line;
  BitMask centres = line;
  draw_thick_line(line, from, from + to, radius_);
  centres.set(from.x, from.y);
  centres.set(from.x + to.x, from.y + to.y);
  dilate_by_disc(discs, centres, radius_);
  for (int y = 0; y < line.height(); ++y) {
    for (int64_t i = 0; i < line.row_words(); ++i) line.row(y)[i] &= ~discs.row(y)[i];
    line.for_each_run(y, [&](int32_t begin, int32_t end) {
      for (int x = begin; x < end; ++x) beyond.pixels.push_back(cv::Point(x, y) - from);
    });
  }
  beyond.is_known = true;
}

// The straight part of a side. A horizontal one is left to the discs around all of its pixels,
// which together are the same.
void draw_straight(BitMask& mask, BitMask& centres, Straights& straights, cv::Point from,
                   cv::Point to, int radius) {
  if (from.y == to.y) {
    centres.set_span(to.y, std::min(from.x, to.x), int64_t{std::max(from.x, to.x)} + 1);
  } else if (from.x == to.x) {
    const auto [top, bottom] = std::minmax(from.y, to.y);
    for (int y = top; y <= bottom; ++y) {
      mask.set_span(y, int64_t{to.x} - radius, int64_t{to.x} + radius + 1);
    }
  } else {
    straights.draw(mask, from, to);
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
  Straights straights(radius);
  for_each_side(contours, [&](cv::Point from, cv::Point to) {
    centres.set(to.x, to.y);
    draw_straight(mask, centres, straights, from, to, radius);
  });
  dilate_by_disc(mask, centres, radius);
}

}  // namespace kel
