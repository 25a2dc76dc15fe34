#include "mask/make_up_holes.h"

#include <opencv2/imgproc.hpp>

#include "core/contours/fill_contours.h"
#include "core/contours/trace_contours.h"
#include "core/mat_view.h"
#include "mask/fill_enclosed.h"
#include "mask/fill_gaps.h"
#include "mask/opencv_limits.h"

namespace kel::mask {
namespace {

size_t find_largest(const Contours& contours) {
  size_t best = 0;
  // Narrowed to float, so of very large contours a later one of like size can win.
  float best_area = static_cast<float>(cv::contourArea(contours[0]));
  for (size_t i = 1; i < contours.size(); ++i) {
    const double area = cv::contourArea(contours[i]);
    if (area > static_cast<double>(best_area)) {
      best = i;
      best_area = static_cast<float>(area);
    }
  }
  return best;
}

// The contours that share a parent with the given one, itself included.
Contours siblings_of(size_t member, const Contours& contours, const Hierarchy& hierarchy) {
  const auto link = [&](int i, Link which) { return hierarchy[static_cast<size_t>(i)][which]; };
  int index = static_cast<int>(member);
  while (link(index, kPrevious) >= 0) index = link(index, kPrevious);
  Contours siblings;
  for (; index >= 0; index = link(index, kNext)) {
    siblings.push_back(contours[static_cast<size_t>(index)]);
  }
  return siblings;
}

// The contours beside the largest one filled: it may be a hole.
BitMask fill_level_of_largest(const BitMask& shapes) {
  Contours contours;
  Hierarchy hierarchy;
  trace_contours(shapes, cv::CHAIN_APPROX_SIMPLE, contours, hierarchy);
  BitMask filled = shapes;
  fill_contours(filled, siblings_of(find_largest(contours), contours, hierarchy));
  return filled;
}

// As long as areas are exact in single precision no contour is larger than the outer one around it,
// so the largest is on the top level, and filling that level is filling whatever is enclosed. An
// inexact area can lose against that of a hole only if both are large.
constexpr int64_t kExactArea = int64_t{1} << 23;  // in steps of a half

BitMask fill_holes(const BitMask& shapes) {
  bool has_large_hole = false;
  BitMask filled = fill_enclosed(shapes, kExactArea, has_large_hole);
  return has_large_hole ? fill_level_of_largest(shapes) : filled;
}

}  // namespace

uint32_t make_up_holes(const KelPixelRegion& src, const KelPixelRegion& dst, uint32_t level) {
  if (src.format != QX_FMT_GRAY) return MVK_BAD_ARGUMENT;
  if (level > 254 || dst.format != QX_FMT_GRAY) return MVK_BAD_ARGUMENT;
  if (!sides_fit(src.width, src.height)) return MVK_OK;
  cv::Mat filled = packed_mat(dst, CV_8UC1);
  _make_up_holes(packed_mat(src, CV_8UC1), filled, static_cast<int32_t>(level));
  return MVK_OK;
}

void _make_up_holes(const cv::Mat& src, cv::Mat& dst, int32_t level) {
  const auto highest_outside = static_cast<uint8_t>(level);
  if (fill_gaps(src, dst, highest_outside, kExactArea)) return;
  fill_holes(BitMask(src, highest_outside)).write(dst);
}

}  // namespace kel::mask
