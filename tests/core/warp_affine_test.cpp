// Rotation by any angle and affine warps: pixels against OpenCV, scales and matrices against
// geometry.
#include "core/warp_affine.h"

#include <gtest/gtest.h>

#include <cmath>
#include <opencv2/imgproc.hpp>

#include "core/planes.h"
#include "core/rotate.h"

namespace {

using kel::imageprocess::InterpolationMethod;
using test::TestImage;

// Runs `judge(src, dst, plane)` for every plane of both. The source is in the middle of a larger
// matrix, since OpenCV may read around it.
template <typename Judge>
void judge_planes(const TestImage& dst, const TestImage& src, Judge judge) {
  const std::vector<cv::Mat> from = test::planes_of(src);
  std::vector<cv::Mat> to = test::planes_of(dst);
  for (size_t i = 0; i < std::min(from.size(), to.size()); ++i) {
    cv::Mat padded;
    cv::copyMakeBorder(from[i], padded, 8, 8, 8, 8, cv::BORDER_REFLECT);
    judge(padded(cv::Rect({8, 8}, from[i].size())), to[i], i);
  }
}

TEST(ResizeScale, FollowsSidesAndAngle) {
  const struct {
    kel::Size_<int> dst, src;
    double angle, scale, error;
  } kCases[]{{{200, 100}, {100, 200}, 90, 1.0, 0},   {{200, 100}, {100, 200}, 0, 1.25, 0},
             {{200, 100}, {100, 200}, -450, 1.0, 0}, {{200, 100}, {100, 200}, 180, 1.25, 0},
             {{50, 40}, {100, 80}, 360, 0.5, 0},     {{200, 160}, {100, 80}, 30, 2.0, 0.03},
             {{50, 50}, {100, 80}, 44.5, 0.56, 0.03}};
  for (const auto& [dst, src, angle, scale, error] : kCases) {
    EXPECT_NEAR(kel::imgproc::get_resize_scale(dst, src, angle), scale, error) << angle;
  }
}

// Corners of an 80 x 60 rectangle rotated about (100, 100), and their bounding box.
TEST(AffineTransform, MovesCornersToTheTurnedBoundingBox) {
  for (const auto& [degrees, scale] : {std::pair{0.0, 0.0}, {30, 0}, {-75.5, 0.5}, {200, 0.5}}) {
    const double c = std::cos(degrees * CV_PI / 180);
    const double s = std::sin(-degrees * CV_PI / 180);
    const cv::Vec2d reach(40 * std::abs(c) + 30 * std::abs(s), 40 * std::abs(s) + 30 * std::abs(c));
    const cv::Vec2d low(std::ceil(reach[0] - 1e-4), std::ceil(reach[1] - 1e-4));
    const double fit = (160 / (2 * low[0] + 1) + 120 / (2 * low[1] + 1)) / 2;
    const cv::Matx23d m =
        kel::imgproc::get_affine_transform({160, 120}, {80, 60}, {100, 100}, degrees, scale);
    for (const auto& [x, y] : {std::pair{-40, 30}, {-40, -30}, {40, -30}}) {
      const cv::Vec3d from(x < 0 ? 0 : 79, y < 0 ? 0 : 59, 1);
      const cv::Vec2d to(x * c - y * s, x * s + y * c);
      EXPECT_LT(cv::norm(m * from - (to + low) * (scale > 0 ? scale : fit)), 0.05) << degrees;
    }
  }
}

// By 33.25 degrees about (17, 13) at scale 0.75; chroma moves by half of the shift.
TEST(Warp, EveryFormatAgainstOpenCv) {
  for (const uint32_t format : test::kMovedFormats) {
    const TestImage src(format, 35, 27, 5, 4);
    for (const test::Shape to : {test::Shape{40, 30}, {31, 33}, {1, 9}, {9, 1}}) {
      TestImage dst(format, to.width, to.height, 3, 2, 2);
      const TestImage expected = dst.clone();
      judge_planes(expected, src, [&](const cv::Mat& s, cv::Mat& d, size_t plane) {
        cv::Mat m = kel::imgproc::get_affine_transform({to.width, to.height}, {35, 27}, {17, 13},
                                                       -33.25, 0.75);
        if (plane == 1) m.col(2) *= 0.5;
        cv::warpAffine(s, d, m, d.size(), cv::INTER_CUBIC, cv::BORDER_CONSTANT, {10, 20, 30, 40});
      });
      kel::imgproc::rotate(dst.descriptor(), src, 33.25, {17, 13}, InterpolationMethod::kCubic,
                           cv::BORDER_CONSTANT, {{10, 20, 30, 40}}, 0.75);
      EXPECT_TRUE(dst == expected) << dst;
    }
  }
}

TEST(Warp, WhatOpenCvWouldRefuseIsLeftAlone) {
  const TestImage src(QX_FMT_GRAY, 20, 10);
  const TestImage wide(QX_FMT_GRAY, 32767, 1);
  TestImage dst(QX_FMT_GRAY, 20, 10, 0, 0, 2);
  const TestImage before = dst.clone();
  const cv::Mat identity = cv::Mat::eye(2, 3, CV_64F);
  const cv::Mat nan(cv::Matx23d(1, 0, NAN, 0, 1, 0));
  kel::imgproc::warpAffine(dst.descriptor(), src, nan, 1, 0, {});
  kel::imgproc::warpAffine(dst.descriptor(), wide, identity, 1, 0, {});
  for (const double angle : {30.0, 1e300, HUGE_VAL, double{NAN}}) {
    for (const float centre : {1e12F, HUGE_VALF, NAN}) {
      kel::imgproc::rotate(dst.descriptor(), src, angle, {centre, 3}, InterpolationMethod::kLinear,
                           1, {}, 0.5);
    }
  }
  EXPECT_TRUE(dst == before);
}

}  // namespace
