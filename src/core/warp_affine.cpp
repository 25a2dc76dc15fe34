#include "core/warp_affine.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <opencv2/imgproc.hpp>

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

// OpenCV samples with 16-bit coordinates and refuses larger sources; it doubles the sides of the
// destination in an int.
bool fits(const KelPixelRegion& dst, const KelPixelRegion& src) {
  constexpr int kLongestSource = std::numeric_limits<int16_t>::max() - 1;
  constexpr int kLongest = 1 << 29;
  return std::max(src.width, src.height) <= kLongestSource &&
         std::max(dst.width, dst.height) <= kLongest;
}

void warp_plane(cv::Mat dst, const cv::Mat& src, const cv::Mat& matrix, const Warp& warp) {
  if (dst.empty() || src.empty()) return;
  cv::warpAffine(src, dst, matrix, dst.size(), warp.flags, warp.border_mode, warp.border_value);
}

void warp_chroma(KelPixelRegion& dst, const KelPixelRegion& src, const cv::Mat& matrix,
                 const Warp& warp) {
  cv::Mat halved = matrix.clone();
  halved.at<double>(0, 2) *= 0.5;
  halved.at<double>(1, 2) *= 0.5;
  warp_plane(chroma_mat(dst), chroma_mat(src), halved, warp);
}

}  // namespace

void warpAffine(KelPixelRegion& dst, const KelPixelRegion& src, const cv::Mat& matrix, int flags,
                int border_mode, Scalar_<float> border_value) {
  if (!kel::imageprocess::can_be_moved(src.format)) return;
  if (!is_finite(matrix) || !fits(dst, src)) return;
  const float* border = border_value.v;
  const Warp warp{flags, border_mode, cv::Scalar(border[0], border[1], border[2], border[3])};
  const int type = matrix_type(src.format);
  warp_plane(first_plane_mat(dst, type), first_plane_mat(src, type), matrix, warp);
  if (kel::imageprocess::is_two_plane(src.format)) warp_chroma(dst, src, matrix, warp);
}

}  // namespace kel::imgproc
