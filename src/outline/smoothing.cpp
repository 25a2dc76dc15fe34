#include "outline/smoothing.h"

#include <cmath>
#include <opencv2/imgproc.hpp>

#include "core/contours/contours.h"
#include "core/contours/fill_contours.h"
#include "core/contours/trace_contours.h"
#include "core/mirrored.h"
#include "core/saturate.h"
#include "outline/closed_length.h"
#include "outline/main_contours.h"

namespace outline {
namespace {

// cv::blur refuses windows of more than 2^16 integers; contours so long stay as they are.
void smooth_contour(kel::Contour& contour, double share) {
  constexpr uint32_t kTooLong = 1 << 16;
  const uint32_t length = kel::saturate_to_uint32(closed_length(contour) * share);
  if (length < 2 || length >= kTooLong) return;
  contour = moving_mean(contour, length | 1);
}

}  // namespace

// cv::blur's sums wrap at 32 bits. It scales them in single precision, two points at a time, and
// the last one of an odd count in double precision; either way they are rounded to even.
kel::Contour moving_mean(const kel::Contour& contour, int64_t window) {
  const auto count = static_cast<int64_t>(contour.size());
  const auto at = [&](int64_t i) { return contour[static_cast<size_t>(kel::mirrored(i, count))]; };
  const int64_t half = window / 2;
  uint32_t x = 0;
  uint32_t y = 0;
  const auto add = [&](cv::Point p) {
    x += static_cast<uint32_t>(p.x);
    y += static_cast<uint32_t>(p.y);
  };
  for (int64_t i = -half; i < half; ++i) add(at(i));
  const double scale = 1.0 / static_cast<double>(window);
  const auto mean = [scale](uint32_t sum) {
    return static_cast<int>(
        std::lrint(static_cast<float>(static_cast<int32_t>(sum)) * static_cast<float>(scale)));
  };
  const auto last_mean = [scale](uint32_t sum) {
    return static_cast<int>(std::lrint(static_cast<int32_t>(sum) * scale));
  };
  kel::Contour means(contour.size());
  for (int64_t i = 0; i < count; ++i) {
    add(at(i + half));
    const bool is_single = i + 1 == count && count % 2 != 0;
    means[static_cast<size_t>(i)] =
        is_single ? cv::Point(last_mean(x), last_mean(y)) : cv::Point(mean(x), mean(y));
    add(-at(i - half));
  }
  return means;
}

void make_contour_mean_fast(kel::BitMask& mask, MKOSmoothLevel level) {
  kel::Contours contours;
  kel::Hierarchy hierarchy;
  kel::trace_contours(mask, cv::CHAIN_APPROX_NONE, contours, hierarchy);
  if (contours.empty()) return;
  std::set<int32_t> main;
  get_max_hierarchy_index(main, contours, hierarchy);
  const float share = static_cast<float>(level) * 0.01F;
  for (const int32_t i : main) smooth_contour(contours[static_cast<size_t>(i)], share);
  kel::fill_contours(mask, contours);
}

}  // namespace outline
