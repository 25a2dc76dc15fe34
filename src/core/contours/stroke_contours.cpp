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

// The straight parts of sides that are neither horizontal nor vertical, drawn when the discs at
// their ends are. Most sides are short and diagonal: of each only few pixels are outside of the two
// discs, and those that come often are found once.
class Straights {
 public:
  Straights(BitMask& mask, int radius) : mask_(mask), radius_(radius), open_rows_{0} {
    for (int y = 0; y < mask.height(); ++y) {
      const int64_t last = mask.row_words() - 1;
      const bool is_full = mask.find_other(y, 0, last, ~uint64_t{0}) == last &&
                           mask.row(y)[last] == mask.last_word();
      open_rows_.push_back(open_rows_.back() + (is_full ? 0 : 1));
    }
  }
  void draw(cv::Point from, cv::Point to);

 private:
  static constexpr int kLongest = 8;
  static constexpr int kOften = 8;
  struct Beyond {
    int uses = 0;
    std::vector<cv::Point> pixels;  // from the first end
  };
  bool is_inside(cv::Point end) const {
    const int reach = radius_ + 2;
    return mask_.contains(end.x - reach, end.y - reach) &&
           mask_.contains(end.x + reach, end.y + reach);
  }
  bool has_open_rows(cv::Point from, cv::Point to) const;
  void find(Beyond& beyond, cv::Point to) const;

  BitMask& mask_;
  int radius_;
  std::vector<int32_t> open_rows_;  // above each row: how many had unset pixels at first
  std::array<Beyond, size_t{4} * kLongest> diagonals_;
};

bool Straights::has_open_rows(cv::Point from, cv::Point to) const {
  const auto row = [&](int64_t y) {
    return static_cast<size_t>(std::clamp<int64_t>(y, 0, mask_.height()));
  };
  const auto [top, bottom] = std::minmax(from.y, to.y);
  const int64_t reach = radius_ + 2;
  return open_rows_[row(bottom + reach + 1)] != open_rows_[row(top - reach)];
}

void Straights::draw(cv::Point from, cv::Point to) {
  if (!has_open_rows(from, to)) return;
  const cv::Point step = to - from;
  const bool is_short = std::abs(step.x) == std::abs(step.y) && std::abs(step.x) <= kLongest;
  if (!is_short || !is_inside(from) || !is_inside(to)) {
    return draw_thick_line(mask_, from, to, radius_);
  }
  const int kind = (step.x > 0 ? 1 : 0) + (step.y > 0 ? 2 : 0);
  Beyond& beyond =
      diagonals_[size_t{4} * static_cast<size_t>(std::abs(step.x) - 1) + static_cast<size_t>(kind)];
  if (++beyond.uses < kOften) return draw_thick_line(mask_, from, to, radius_);
  if (beyond.uses == kOften) find(beyond, step);
  for (const cv::Point p : beyond.pixels) mask_.set(from.x + p.x, from.y + p.y);
}

void Straights::find(Beyond& beyond, cv::Point to) const {
  const int reach = radius_ + kLongest + 2;
  const cv::Point from(reach, reach);
  BitMask line(2 * reach + 1, 2 * reach + 1);
  draw_thick_line(line, from, from + to, radius_);
  const auto is_in_disc = [&](cv::Point p) {
    return int64_t{p.x} * p.x + int64_t{p.y} * p.y <= int64_t{radius_} * radius_;
  };
  for (int y = 0; y < line.height(); ++y) {
    line.for_each_run(y, [&](int32_t begin, int32_t end) {
      for (int x = begin; x < end; ++x) {
        const cv::Point p = cv::Point(x, y) - from;
        if (!is_in_disc(p) && !is_in_disc(p - to)) beyond.pixels.push_back(p);
      }
    });
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
    if (from.y == to.y) {  // the discs around all of its pixels are the whole side
      centres.set_span(to.y, std::min(from.x, to.x), int64_t{std::max(from.x, to.x)} + 1);
    } else if (from.x == to.x) {
      const auto [top, bottom] = std::minmax(from.y, to.y);
      for (int y = top; y <= bottom; ++y) {
        mask.set_span(y, int64_t{to.x} - radius, int64_t{to.x} + radius + 1);
      }
    }
  });
  dilate_by_disc(mask, centres, radius);
  Straights straights(mask, radius);
  for_each_side(contours, [&](cv::Point from, cv::Point to) {
    if (from.x != to.x && from.y != to.y) straights.draw(from, to);
  });
}

}  // namespace kel
