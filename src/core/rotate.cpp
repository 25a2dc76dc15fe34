#include "core/rotate.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <opencv2/imgproc.hpp>

#include "core/saturate.h"
#include "core/turn.h"
#include "core/warp_affine.h"

namespace kel::imgproc {
namespace {

constexpr double kEpsilon = 2.220446049250313e-16;

bool is_zero(double value) { return std::abs(value) <= std::abs(value) * kEpsilon; }

// The whole part of angle modulo 360, from -359 to 359, with the sign of angle + 360.
int64_t whole_angle(double angle) { return (int64_t{saturate_to_int32(angle)} + 360) % 360; }

// Length of the side between two corners, in whole pixels; squares wrap at 32 bits.
float side_length(cv::Point2f from, cv::Point2f to) {
  const auto difference = [](float a, float b) {
    return static_cast<uint32_t>(saturate_to_int32(a)) -
           static_cast<uint32_t>(saturate_to_int32(b));
  };
  const uint32_t dx = difference(from.x, to.x);
  const uint32_t dy = difference(from.y, to.y);
  return static_cast<float>(saturate_to_uint32(std::sqrt(static_cast<double>(dx * dx + dy * dy))));
}

double scale_of_turned_rectangle(const Size_<int>& dst, const Size_<int>& src, double angle) {
  const cv::Point2f centre(cv::Point((src.width - 1) / 2, (src.height - 1) / 2));
  const cv::Size2f size(static_cast<float>(src.width), static_cast<float>(src.height));
  std::array<cv::Point2f, 4> p;
  cv::RotatedRect(centre, size, static_cast<float>(angle)).points(p.data());
  const float width = std::max(side_length(p[1], p[2]), side_length(p[0], p[3]));
  const float height = std::max(side_length(p[1], p[0]), side_length(p[2], p[3]));
  return (static_cast<float>(dst.width) / width + static_cast<float>(dst.height) / height) * 0.5;
}

// Whether whole pixels around the points, and differences between them, fit an int.
bool are_near(const std::array<cv::Point2f, 4>& points) {
  constexpr float kLimit = 1 << 29;
  return std::all_of(points.begin(), points.end(), [](cv::Point2f point) {
    return std::abs(point.x) < kLimit && std::abs(point.y) < kLimit;
  });
}

}  // namespace

double get_resize_scale(const Size_<int>& dst_size, const Size_<int>& src_size, double angle) {
  const double dw = dst_size.width;
  const double dh = dst_size.height;
  const double sw = src_size.width;
  const double sh = src_size.height;
  if (std::trunc(angle) == angle) {
    const int64_t whole = whole_angle(angle);
    if (whole % 90 == 0) {
      const bool is_quarter = (whole + 360) % 180 == 90;
      return is_quarter ? (dw / sh + dh / sw) * 0.5 : (dw / sw + dh / sh) * 0.5;
    }
  }
  return scale_of_turned_rectangle(dst_size, src_size, angle);
}

cv::Mat get_affine_transform(const Size_<int>& dst_size, const Size_<int>& src_size,
                             const Point2D_<float>& centre, double angle, double scale) {
  const auto w = static_cast<float>(src_size.width);
  const auto h = static_cast<float>(src_size.height);
  const cv::RotatedRect turned({centre.x, centre.y}, {w, h}, static_cast<float>(-angle));
  std::array<cv::Point2f, 4> corners;
  turned.points(corners.data());
  if (!are_near(corners)) {
    return {2, 3, CV_64F, cv::Scalar(std::numeric_limits<double>::quiet_NaN())};
  }
  const cv::Rect box = turned.boundingRect();
  if (is_zero(scale)) {
    scale = (static_cast<double>(dst_size.width) / box.width +
             static_cast<double>(dst_size.height) / box.height) *
            0.5;
  }
  const std::array<cv::Point2f, 3> from{cv::Point2f(0, h - 1), {0, 0}, {w - 1, 0}};
  std::array<cv::Point2f, 3> to;
  for (size_t i = 0; i < to.size(); ++i) {
    to[i].x =
        static_cast<float>(static_cast<double>(corners[i].x - static_cast<float>(box.x)) * scale);
    to[i].y =
        static_cast<float>(static_cast<double>(corners[i].y - static_cast<float>(box.y)) * scale);
  }
  return cv::getAffineTransform(from.data(), to.data());
}

void rotate(KelPixelRegion& dst, const KelPixelRegion& src, double angle, Point2D_<float> centre,
            kel::imageprocess::InterpolationMethod method, int border_mode,
            Scalar_<float> border_value, double scale) {
  const Size_<int> dst_size{dst.width, dst.height};
  const Size_<int> src_size{src.width, src.height};
  if (is_zero(scale)) scale = get_resize_scale(dst_size, src_size, angle);
  const int64_t whole = whole_angle(angle);  // without its fraction: 90.5 counts as 90
  if (whole % 90 == 0 && std::abs(scale - 1.0) <= std::abs(scale) * kEpsilon) {
    return rotate_90s(dst, src, static_cast<int>(whole), centre);
  }
  const cv::Mat matrix = get_affine_transform(dst_size, src_size, centre, -angle, scale);
  warpAffine(dst, src, matrix, static_cast<int>(method), border_mode, border_value);
}

}  // namespace kel::imgproc
