#include "mask/make_up_holes.h"

#include <opencv2/imgproc.hpp>
#include <vector>

#include "mask/binarise.h"
#include "mask/caller_mat.h"
#include "mask/fill_enclosed.h"
#include "mask/opencv_limits.h"

namespace kel::mask {
namespace {

using Contours = std::vector<std::vector<cv::Point>>;

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

// Paints every contour on the level of the given one solid.
void fill_siblings(cv::Mat& image, const Contours& contours,
                   const std::vector<cv::Vec4i>& hierarchy, size_t member) {
  constexpr int kNext = 0;
  constexpr int kPrevious = 1;
  int index = static_cast<int>(member);
  while (hierarchy[static_cast<size_t>(index)][kPrevious] >= 0) {
    index = hierarchy[static_cast<size_t>(index)][kPrevious];
  }
  for (; index >= 0; index = hierarchy[static_cast<size_t>(index)][kNext]) {
    const std::vector<cv::Point>& contour = contours[static_cast<size_t>(index)];
    const cv::Point* points = contour.data();
    const int count = static_cast<int>(contour.size());
    cv::fillPoly(image, &points, &count, 1, cv::Scalar(255));
  }
}

// The road for areas that lose precision.
void fill_contours(cv::Mat& image) {
  Contours contours;
  std::vector<cv::Vec4i> hierarchy;
  cv::findContours(image, contours, hierarchy, cv::RETR_TREE, cv::CHAIN_APPROX_NONE);
  if (!contours.empty()) fill_siblings(image, contours, hierarchy, find_largest(contours));
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
    fill_contours(dst);
  }
}

}  // namespace kel::mask
