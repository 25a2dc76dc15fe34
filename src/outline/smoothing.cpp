#include "outline/smoothing.h"

#include <opencv2/imgproc.hpp>

#include "core/contours/contours.h"
#include "core/contours/fill_contours.h"
#include "core/contours/trace_contours.h"
#include "core/saturate.h"
#include "outline/main_contours.h"

namespace outline {
namespace {

// The contour is a row of points to the filter, reflected at its ends although it is closed.
// cv::blur refuses windows of more than 2^16 integers; contours so long stay as they are.
void smooth_contour(kel::Contour& contour, double share) {
  constexpr uint32_t kTooLong = 1 << 16;
  const uint32_t length = kel::saturate_to_uint32(cv::arcLength(contour, true) * share);
  if (length < 2 || length >= kTooLong) return;
  const int window = static_cast<int>(length | 1);
  kel::Contour smooth;
  cv::blur(contour, smooth, cv::Size(window, 1), cv::Point(-1, -1), cv::BORDER_REFLECT_101);
  contour.swap(smooth);
}

}  // namespace

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
