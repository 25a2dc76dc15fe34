#include <cmath>
#include <limits>
#include <opencv2/imgproc.hpp>

#include "core/imgproc.h"
#include "core/mat_view.h"

namespace kel::imgproc {
namespace {

struct Warp {
  int flags;
  int border_mode;
  cv::Scalar border_value;
};

bool is_finite(const cv::Mat& matrix) {
  for (int row = 0; row < matrix.rows; ++row) {
    for (int column = 0; column < matrix.cols; ++column) {
      if (!std::isfinite(matrix.at<double>(row, column))) return false;
    }
  }
  return true;
}

// OpenCV samples with 16-bit coordinates and refuses larger images.
bool has_short_sides(const KelPixelRegion& region) {
  constexpr int kLimit = std::numeric_limits<int16_t>::max();
  return region.width < kLimit && region.height < kLimit;
}

void warp_plane(cv::Mat dst, const cv::Mat& src, const cv::Mat& matrix, const Warp& warp) {
  if (dst.empty() || src.empty()) return;
  cv::warpAffine(src, dst, matrix, dst.size(), warp.flags, warp.border_mode, warp.border_value);
}

void warp_first(KelPixelRegion& dst, const KelPixelRegion& src, int type, const cv::Mat& matrix,
                const Warp& warp) {
  warp_plane(plane_mat(dst.plane[0], dst.width, dst.height, dst.pitch[0], type),
             plane_mat(src.plane[0], src.width, src.height, src.pitch[0], type), matrix, warp);
}

void warp_chroma(KelPixelRegion& dst, const KelPixelRegion& src, const cv::Mat& matrix,
                 const Warp& warp) {
  cv::Mat halved = matrix.clone();
  halved.at<double>(0, 2) *= 0.5;
  halved.at<double>(1, 2) *= 0.5;
  warp_plane(plane_mat(dst.plane[1], dst.width / 2, dst.height / 2, dst.pitch[1], CV_8UC2),
             plane_mat(src.plane[1], src.width / 2, src.height / 2, src.pitch[1], CV_8UC2), halved,
             warp);
}

}  // namespace

void warpAffine(KelPixelRegion& dst, const KelPixelRegion& src, const cv::Mat& matrix, int flags,
                int border_mode, Scalar_<float> border_value) {
  if (!is_finite(matrix) || !has_short_sides(dst) || !has_short_sides(src)) return;
  const float* border = border_value.v;
  const Warp warp{flags, border_mode, cv::Scalar(border[0], border[1], border[2], border[3])};
  switch (src.format) {
    case QX_FMT_GRAY:
      return warp_first(dst, src, CV_8UC1, matrix, warp);
    case QX_FMT_RGB24:
      return warp_first(dst, src, CV_8UC3, matrix, warp);
    case QX_FMT_ARGB:
      return warp_first(dst, src, CV_8UC4, matrix, warp);
    case QX_FMT_NV12:
    case QX_FMT_NV21:
      warp_first(dst, src, CV_8UC1, matrix, warp);
      return warp_chroma(dst, src, matrix, warp);
    default:  // QX_FMT_ABGR has no warp
      return;
  }
}

}  // namespace kel::imgproc
