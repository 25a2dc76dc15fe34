#include "core/contours/antialiased_fill.h"

#include <algorithm>
#include <cstdlib>
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

// The weight of a pixel with `before` others in front of it and `after` behind it in the line: the
// two at each end are drawn in part.
int weight_near_ends(int weight, int64_t before, int64_t after) {
  const int begin[] = {0,          4 * weight,   124 * weight,
                       4 * weight, 132 * weight, 252 * weight,
                       4 * weight, 132 * weight, 256 * weight};
  const int64_t at = 3 * std::min<int64_t>(before, 2) + std::min<int64_t>(after, 2);
  return (begin[at] >> 8) & 0x1FF;
}

// Blends a pixel towards 255 twice, as OpenCV does.
void blend(uint8_t& pixel, int weight) {
  int value = pixel;
  for (int i = 0; i < 2; ++i) value += ((255 - value) * weight + 127) >> 8;
  pixel = static_cast<uint8_t>(value);
}

// Three pixels across at each step along the longer axis, and one step beyond the end.
void draw_soft_line(cv::Mat& image, cv::Point from, cv::Point to) {
  const bool is_flat = std::abs(to.x - from.x) > std::abs(to.y - from.y);
  const auto swap_axes = [&](cv::Point p) { return is_flat ? p : cv::Point(p.y, p.x); };
  cv::Point begin = swap_axes(from);
  cv::Point end = swap_axes(to);
  if (end.x < begin.x) std::swap(begin, end);
  const int64_t length = end.x - begin.x;
  const int64_t slope = (end.y - begin.y) * kOne * kOne / (length * kOne | 1);
  const int weight = weight_of(slope);
  int64_t across = begin.y * kOne + kOne / 2;
  for (int64_t i = 0; i < length + 2; ++i, across += slope) {
    const int here = weight_near_ends(weight, i, length + 1 - i);
    const auto step = static_cast<size_t>((across >> (kFractionBits - 5)) & (kSteps - 1));
    const int cover[] = {kCover[step + kSteps], kCover[step], kCover[2 * kSteps - 1 - step]};
    for (int k = 0; k < 3; ++k) {
      const cv::Point p = swap_axes(
          {static_cast<int>(begin.x + i), static_cast<int>(across >> kFractionBits) - 1 + k});
      if (p.x < 0 || p.y < 0 || p.x >= image.cols || p.y >= image.rows) continue;
      blend(image.at<uint8_t>(p), (here * cover[k] >> 8) & 0xFF);
    }
  }
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
  cv::Mat filled(image.size(), CV_8UC1);
  inside.write(filled);
  cv::max(image, filled, image);
}

}  // namespace kel
