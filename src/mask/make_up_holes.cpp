#include "mask/make_up_holes.h"

#include <opencv2/imgproc.hpp>
#include <vector>

#include "mask/caller_mat.h"

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

}  // namespace

uint32_t make_up_holes(const KelPixelRegion& src, const KelPixelRegion& dst, uint32_t level) {
  if (src.format != QX_FMT_GRAY) return MVK_BAD_ARGUMENT;
  if (level > 254 || dst.format != QX_FMT_GRAY) return MVK_BAD_ARGUMENT;
  if (!fits_opencv(src.width, src.height)) return MVK_OK;
  cv::Mat filled = packed_mat(dst, CV_8UC1);
  _make_up_holes(source_mat(src, dst, CV_8UC1), filled, static_cast<int32_t>(level));
  return MVK_OK;
}

void _make_up_holes(const cv::Mat& src, cv::Mat& dst, int32_t level) {
  cv::threshold(src, dst, level, 255.0, cv::THRESH_BINARY);
  Contours contours;
  std::vector<cv::Vec4i> hierarchy;
  cv::findContours(dst, contours, hierarchy, cv::RETR_TREE, cv::CHAIN_APPROX_NONE);
  if (!contours.empty()) fill_siblings(dst, contours, hierarchy, find_largest(contours));
}

}  // namespace kel::mask
