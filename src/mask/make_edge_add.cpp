#include "mask/make_edge_add.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <opencv2/imgproc.hpp>

#include "core/contours/antialiased_fill.h"
#include "core/contours/trace_contours.h"
#include "morvik/morvik.h"

namespace kel::mask {
namespace {

// The means, rounded down, of `count` windows of samples, each one sample further on.
void find_means(int32_t* means, const int16_t* samples, int32_t half, int32_t count) {
  constexpr int32_t kUsualHalf = 6;  // a divisor that compilers turn into a multiplication
  if (half == kUsualHalf) {
    for (int32_t j = 0; j < count; ++j) {
      const int16_t* const s = samples + j;
      means[j] = static_cast<uint16_t>(s[0] + s[1] + s[2] + s[3] + s[4] + s[5]) / kUsualHalf;
    }
    return;
  }
  for (int32_t j = 0; j < count; ++j) {
    int32_t sum = 0;
    for (int32_t i = 0; i < half; ++i) sum += samples[j + i];
    means[j] = sum / half;
  }
}

// Whether the standard deviation of `count` responses is that of a clear edge. Whole numbers decide
// unless it is the limit itself, where double precision has the last word.
bool is_clear(const int32_t* responses, int32_t count) {
  constexpr int32_t kLeastDeviation = 35;
  int32_t total = 0;
  int32_t squares = 0;
  for (int32_t j = 0; j < count; ++j) {
    total += responses[j];
    squares += responses[j] * responses[j];
  }
  const int32_t spread = count * squares - total * total;
  const int32_t limit = count * count * kLeastDeviation * kLeastDeviation;
  if (spread != limit) return spread > limit;
  const double mean = static_cast<double>(total) / count;
  double sum = 0.0;
  for (int32_t j = 0; j < count; ++j) sum += (responses[j] - mean) * (responses[j] - mean);
  return std::sqrt(sum / count) >= kLeastDeviation;
}

}  // namespace

uint32_t make_edge_add(cv::Mat& drawn, const BitMask& mask, uint32_t radius, const Guide& guide) {
  if (guide.size() != cv::Size(mask.width(), mask.height())) return kUnusableSize;
  if (radius < kSmallestRadius || radius > kLargestRadius) return kUnusableSize;
  Contours contours;
  Hierarchy hierarchy;
  trace_contours(mask, cv::CHAIN_APPROX_NONE, contours, hierarchy);
  if (contours.empty()) return MVK_BAD_ARGUMENT;
  Contours moved = contours;
  fix_contours_point(moved, guide.size());
  find_edge_contour_add_haar(moved, static_cast<int32_t>(radius), guide, mask);
  drawn.setTo(0);
  fill_antialiased(drawn, moved, hierarchy);
  add_image_point(contours, drawn);  // the points as they were found
  return MVK_OK;
}

void fix_contours_point(Contours& contours, cv::Size size) {
  for (Contour& contour : contours) {
    for (cv::Point& point : contour) {
      const bool at_top = point.y < 2;
      if (point.x < 2) point.x = 0;
      if (at_top) point.y = 0;
      if (point.x >= size.width - 2) point.x = size.width - 1;
      // A point at the top does not also go to the bottom, unless the mask is both.
      if (at_top ? size.height <= 2 : point.y >= size.height - 2) point.y = size.height - 1;
    }
  }
}

void find_edge_contour_add_haar(Contours& contours, int32_t radius, const Guide& guide,
                                const BitMask& mask) {
  constexpr size_t kAhead = 8;  // points
  const int32_t count = 2 * radius + 1;
  // The bound lets the window reach one column past the end of the row, where the next row begins.
  // Edges refined near the right border depend on it.
  const auto is_on_edge = [&](cv::Point point) {
    return point.x >= radius && point.x + radius <= mask.width() &&
           mask.is_set(point.x - 1, point.y) != mask.is_set(point.x + 1, point.y);
  };
  int16_t samples[2 * kLargestRadius + 1 + Guide::kSlack];
  for (Contour& contour : contours) {
    for (size_t i = 0; i < contour.size(); ++i) {
      if (i + kAhead < contour.size() && is_on_edge(contour[i + kAhead])) {
        guide.prefetch(contour[i + kAhead].x - radius, contour[i + kAhead].y, count);
      }
      cv::Point& point = contour[i];
      if (!is_on_edge(point)) continue;
      guide.brightness(samples, point.x - radius, point.y, count);
      point.x += (mask.is_set(point.x + 1, point.y) ? 1 : 0) +
                 haar_move_window_limit(samples, radius, radius / 2);
    }
  }
}

int32_t haar_move_window_limit(const int16_t* samples, int32_t radius, int32_t half) {
  const int32_t count = 2 * radius + 2 - 2 * half;
  int32_t means[2 * kLargestRadius + 2];
  find_means(means, samples, half, count + half);
  int32_t responses[2 * kLargestRadius + 2] = {};
  for (int32_t j = 0; j < count; ++j) {
    responses[j] = std::abs(means[j] - means[j + half]);  // of two adjacent windows
  }
  if (!is_clear(responses, count)) return 0;
  return static_cast<int32_t>(std::max_element(responses, responses + count) - responses) -
         count / 2;
}

void add_image_point(const Contours& contours, cv::Mat& image) {
  if (image.empty()) return;
  for (const Contour& contour : contours) {
    for (const cv::Point& point : contour) {
      if (point.y > image.rows - 3) image.at<uint8_t>(image.rows - 1, point.x) = 255;
    }
  }
}

}  // namespace kel::mask
