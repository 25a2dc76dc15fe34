#include "core/contours/antialiased_fill.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <utility>

#include "core/contours/bit_mask.h"
#include "core/contours/polygon_filler.h"

namespace kel {
namespace {

// Everything here follows OpenCV's arithmetic: positions with 16 fractional bits, 32 steps between
// two pixels, weights in 256ths.
constexpr int kFractionBits = 16;
constexpr int64_t kOne = int64_t{1} << kFractionBits;
constexpr int kSteps = 32;

// How much a line covers a pixel at a distance, in steps; Gaussian.
constexpr int kCover[2 * kSteps] = {168, 177, 185, 194, 202, 210, 218, 224, 231, 236, 241, 246, 249,
                                    252, 254, 254, 254, 254, 252, 249, 246, 241, 236, 231, 224, 218,
                                    210, 202, 194, 185, 177, 168, 158, 149, 140, 131, 122, 114, 105,
                                    97,  89,  82,  75,  68,  62,  56,  50,  45,  40,  36,  32,  28,
                                    25,  22,  19,  16,  14,  12,  11,  9,   8,   7,   5,   5};

// What that is multiplied by for a slope, in steps: a steep line is thinner across.
constexpr int kSlopeWeight[kSteps] = {181, 181, 181, 182, 182, 183, 184, 185, 187, 188, 190,
                                      192, 194, 196, 198, 201, 203, 206, 209, 211, 214, 218,
                                      221, 224, 227, 231, 235, 238, 242, 246, 250, 254};

int weight_of(int64_t slope) {
  int steps = static_cast<int>((slope >> (kFractionBits - 5)) & 0x3F);
  if (slope < 0) steps ^= 0x3F;
  return steps < kSteps ? kSlopeWeight[steps] : 256;
}

// How much is drawn, in 256ths, of a pixel of a line with so many others in front of it and behind
// it: the two at each end are drawn in part.
constexpr int kPart[3][3] = {{0, 4, 124}, {4, 132, 252}, {4, 132, 256}};

int weight_near_ends(int weight, int64_t before, int64_t after) {
  const int part = kPart[std::min<int64_t>(before, 2)][std::min<int64_t>(after, 2)];
  return (part * weight >> 8) & 0x1FF;
}

// Blends a pixel towards 255 twice, as OpenCV does.
void blend(uint8_t& pixel, int weight) {
  int value = pixel;
  for (int i = 0; i < 2; ++i) value += ((255 - value) * weight + 127) >> 8;
  pixel = static_cast<uint8_t>(value);
}

// A line seen along its longer axis, whose coordinate is x; places in a column of three pixels
// count from the upper one.
struct SoftLine {
  cv::Point begin;
  int64_t length;
  int64_t slope;
  int weight;
  bool is_flat;

  SoftLine(cv::Point from, cv::Point to)
      : is_flat(std::abs(to.x - from.x) > std::abs(to.y - from.y)) {
    begin = swap_axes(from);
    cv::Point end = swap_axes(to);
    if (end.x < begin.x) std::swap(begin, end);
    length = end.x - begin.x;
    slope = (end.y - begin.y) * kOne * kOne / (length * kOne | 1);
    weight = weight_of(slope);
  }

  cv::Point swap_axes(cv::Point p) const { return is_flat ? p : cv::Point(p.y, p.x); }

  // Calls visit(column, row, weights) for the three pixels from a row on of each step along the
  // axis, and of one step beyond the end.
  template <typename Visit>
  void for_each_step(Visit visit) const {
    int64_t across = begin.y * kOne + kOne / 2;
    for (int64_t i = 0; i < length + 2; ++i, across += slope) {
      const int here = weight_near_ends(weight, i, length + 1 - i);
      const auto step = static_cast<size_t>((across >> (kFractionBits - 5)) & (kSteps - 1));
      const int cover[] = {kCover[step + kSteps], kCover[step], kCover[2 * kSteps - 1 - step]};
      const int weights[] = {(here * cover[0] >> 8) & 0xFF, (here * cover[1] >> 8) & 0xFF,
                             (here * cover[2] >> 8) & 0xFF};
      visit(begin.x + i, (across >> kFractionBits) - 1, weights);
    }
  }
};

// Whether all pixels within `reach` of a point are in the image.
bool is_inside(const cv::Mat& image, cv::Point p, int reach) {
  return p.x >= reach && p.y >= reach && p.x < image.cols - reach && p.y < image.rows - reach;
}

void draw_soft_line(cv::Mat& image, cv::Point from, cv::Point to) {
  constexpr int kReach = 3;  // of what a line draws beyond its ends, and more
  const SoftLine line(from, to);
  const auto pitch = static_cast<ptrdiff_t>(image.step[0]);
  const ptrdiff_t along = line.is_flat ? 1 : pitch;
  const ptrdiff_t across = line.is_flat ? pitch : 1;
  if (is_inside(image, from, kReach) && is_inside(image, to, kReach)) {
    return line.for_each_step([&](int64_t x, int64_t y, const int* weights) {
      uint8_t* const pixel = image.data + x * along + y * across;
      for (int k = 0; k < 3; ++k) blend(pixel[k * across], weights[k]);
    });
  }
  line.for_each_step([&](int64_t x, int64_t y, const int* weights) {
    for (int k = 0; k < 3; ++k) {
      const cv::Point p = line.swap_axes({static_cast<int>(x), static_cast<int>(y) + k});
      if (is_inside(image, p, 0)) blend(image.at<uint8_t>(p), weights[k]);
    }
  });
}

// A point on its own comes first: it blends its pixels once more than the lines do.
void draw_soft_border(cv::Mat& image, const Contour& contour) {
  cv::Point from = contour.front();
  draw_soft_line(image, from, from);
  for (size_t i = 1; i < contour.size(); ++i) {
    draw_soft_line(image, from, contour[i]);
    from = contour[i];
  }
  draw_soft_line(image, from, contour.front());
}

}  // namespace

void fill_antialiased(cv::Mat& image, const Contours& contours, const Hierarchy& hierarchy) {
  BitMask inside(image.cols, image.rows);
  PolygonFiller filler(inside);
  const auto draw = [&](int index) {
    const Contour& contour = contours[static_cast<size_t>(index)];
    if (contour.empty()) return;
    draw_soft_border(image, contour);
    filler.add_inside(contour);
  };
  // Blending depends on the order: each contour, then its children.
  for (int top = contours.empty() ? kNoContour : 0; top != kNoContour;) {
    const cv::Vec4i& links = hierarchy[static_cast<size_t>(top)];
    draw(top);
    for (int hole = links[kFirstChild]; hole != kNoContour;) {
      draw(hole);
      hole = hierarchy[static_cast<size_t>(hole)][kNext];
    }
    top = links[kNext];
  }
  filler.fill();
  for (int y = 0; y < image.rows; ++y) {
    uint8_t* const row = image.ptr(y);
    inside.for_each_run(y, [&](int32_t begin, int32_t end) {
      std::memset(row + begin, 255, static_cast<size_t>(end - begin));
    });
  }
}

}  // namespace kel
