#include "mask/make_edge_add.h"

#include <cmath>
#include <cstdlib>
#include <opencv2/imgproc.hpp>

#include "core/contours/antialiased_fill.h"
#include "core/contours/trace_contours.h"
#include "morvik/morvik.h"

namespace kel::mask {
namespace {

// Length of a colour vector, rounded down. Single precision is exact here: the sum is an integer
// below 2^18, so its root is never within a rounding error below the next integer.
int32_t brightness(const uint8_t* pixel) {
  const int32_t sum = pixel[0] * pixel[0] + pixel[1] * pixel[1] + pixel[2] * pixel[2];
  return static_cast<int32_t>(std::sqrt(static_cast<float>(sum)));
}

// sums[i + 1] = sums[i] + brightness of column x - radius + i, for 2 * radius + 1 columns. The last
// of them may be the column behind the row, which is the next row's first pixel; behind the last
// row it counts as 0.
void sum_brightness(const cv::Mat& guide, int32_t y, int32_t x, int32_t radius, int32_t* sums) {
  const int32_t count = 2 * radius + 1;
  const bool leaves = x + radius >= guide.cols && y + 1 >= guide.rows;
  const uint8_t* pixel = guide.ptr<uint8_t>(y, x - radius);
  for (int32_t i = 0; i < count; ++i, pixel += 3) {
    sums[i + 1] = sums[i] + (leaves && i == count - 1 ? 0 : brightness(pixel));
  }
}

}  // namespace

uint32_t make_edge_add(cv::Mat& mask, uint32_t radius, const cv::Mat& guide) {
  if (mask.rows != guide.rows || mask.cols != guide.cols) return kUnusableSize;
  if (radius < kSmallestRadius || radius > kLargestRadius) return kUnusableSize;
  const BitMask shapes(mask, 254);
  shapes.write(mask);
  Contours contours;
  Hierarchy hierarchy;
  trace_contours(shapes, cv::CHAIN_APPROX_NONE, contours, hierarchy);
  if (contours.empty()) return MVK_BAD_ARGUMENT;
  make_contour_edge(mask, guide, radius, contours, hierarchy);
  return MVK_OK;
}

void make_contour_edge(cv::Mat& mask, const cv::Mat& guide, uint32_t radius, Contours& contours,
                       const Hierarchy& hierarchy) {
  Contours moved = contours;
  fix_contours_point(moved, mask);
  find_edge_contour_add_haar(moved, static_cast<int32_t>(radius), guide, mask);
  mask.setTo(0);
  fill_antialiased(mask, moved, hierarchy);
  add_image_point(contours, mask);  // the points as they were found
  contours.swap(moved);
}

void fix_contours_point(Contours& contours, const cv::Mat& mask) {
  if (mask.empty()) return;
  for (Contour& contour : contours) {
    for (cv::Point& point : contour) {
      const bool at_top = point.y < 2;
      if (point.x < 2) point.x = 0;
      if (at_top) point.y = 0;
      if (point.x >= mask.cols - 2) point.x = mask.cols - 1;
      // A point at the top does not also go to the bottom, unless the mask is both.
      if (at_top ? mask.rows <= 2 : point.y >= mask.rows - 2) point.y = mask.rows - 1;
    }
  }
}

void find_edge_contour_add_haar(Contours& contours, int32_t radius, const cv::Mat& guide,
                                const cv::Mat& mask) {
  std::vector<int32_t> sums(2 * static_cast<size_t>(radius) + 2);
  for (Contour& contour : contours) {
    for (cv::Point& point : contour) {
      // The bound lets the window reach one column past the end of the row, where the next row
      // begins. Edges refined near the right border depend on it.
      if (point.x < radius || point.x + radius > guide.cols) continue;
      const int left = mask.at<uint8_t>(point.y, point.x - 1);
      const int right = mask.at<uint8_t>(point.y, point.x + 1);
      if (left == right && (left == 0 || left == 255)) continue;
      sum_brightness(guide, point.y, point.x, radius, sums.data());
      point.x += (left < right ? 1 : 0) + haar_move_window_limit(sums.data(), radius, radius / 2);
    }
  }
}

int32_t haar_move_window_limit(const int32_t* sums, int32_t radius, int32_t half) {
  constexpr double kClearEdge = 35.0;  // least standard deviation of the responses
  if (radius <= half) half = radius / 2;
  const int32_t count = 2 * radius + 2 - 2 * half;
  if (count <= 0) return 0;

  // means[j] of the window that starts at j; a response is the difference of two adjacent means.
  int32_t means[2 * kLargestRadius + 2] = {};
  for (int32_t j = 0; half > 0 && j < count + half; ++j) {
    means[j] = (sums[j + half] - sums[j]) / half;
  }
  int32_t responses[2 * kLargestRadius + 2];
  int32_t total = 0;
  int32_t strongest = 0;
  for (int32_t j = 0; j < count; ++j) {
    responses[j] = std::abs(means[j] - means[j + half]);
    total += responses[j];
    if (responses[j] > responses[strongest]) strongest = j;
  }
  const double mean = static_cast<double>(total) / count;
  double squares = 0.0;
  for (int32_t j = 0; j < count; ++j) squares += (responses[j] - mean) * (responses[j] - mean);
  if (std::sqrt(squares / count) < kClearEdge) return 0;
  return strongest - count / 2;
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
