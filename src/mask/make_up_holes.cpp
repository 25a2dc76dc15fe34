#include "mask/make_up_holes.h"

#include <opencv2/imgproc.hpp>

#include "core/contours/fill_contours.h"
#include "core/contours/trace_contours.h"
#include "mask/binarise.h"
#include "mask/caller_mat.h"
#include "mask/fill_enclosed.h"
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

// For images whose areas lose precision: the largest contour may be a hole.
void fill_level_of_largest(cv::Mat& image) {
  cv::Mat shapes = frame_shapes(image, 0);
  Contours contours;
  Hierarchy hierarchy;
  trace_contours(shapes, cv::CHAIN_APPROX_SIMPLE, contours, hierarchy);
  if (contours.empty()) return;
  fill_contours(image, siblings_of(find_largest(contours), contours, hierarchy), 255);
}

}  // namespace

uint32_t make_up_holes(const KelPixelRegion& src, const KelPixelRegion& dst, uint32_t level) {
  if (src.format != QX_FMT_GRAY) return MVK_BAD_ARGUMENT;
  if (level > 254 || dst.format != QX_FMT_GRAY) return MVK_BAD_ARGUMENT;
  if (!sides_fit(src.width, src.height)) return MVK_OK;
  cv::Mat filled = packed_mat(dst, CV_8UC1);
  _make_up_holes(source_mat(src, dst, CV_8UC1), filled, static_cast<int32_t>(level));
  return MVK_OK;
}

// As long as areas are exact in single precision no contour is larger than the outer one around it,
// so the largest is on the top level, and filling that level is filling whatever is enclosed.
void _make_up_holes(const cv::Mat& src, cv::Mat& dst, int32_t level) {
  constexpr int64_t kExactArea = int64_t{1} << 23;  // in steps of a half
  binarise(src, dst, level);
  if (int64_t{src.cols - 1} * (src.rows - 1) <= kExactArea) {
    fill_enclosed(dst);
  } else {
    fill_level_of_largest(dst);
  }
}

}  // namespace kel::mask
