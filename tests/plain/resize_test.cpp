// mvk_resize, warps and rotation by any angle against OpenCV's calls on copies of the planes.
#include <gtest/gtest.h>

#include <cmath>
#include <opencv2/imgproc.hpp>

#include "core/imgproc.h"
#include "support/test_image.h"

namespace {

using kel::imageprocess::InterpolationMethod;
using test::TestImage;

// The planes with any pixels as matrices; element sizes follow the format.
std::vector<cv::Mat> planes_of(TestImage& image) {
  const QX_OFFSCREEN& d = image.descriptor();
  const int type = d.format == QX_FMT_RGB24 ? CV_8UC3 : d.format == QX_FMT_ARGB ? CV_8UC4 : CV_8UC1;
  std::vector<cv::Mat> planes{
      cv::Mat(d.height, d.width, type, d.plane[0], static_cast<size_t>(d.pitch[0]))};
  if (d.plane[1] != nullptr && d.width > 1 && d.height > 1) {
    planes.emplace_back(d.height / 2, d.width / 2, CV_8UC2, d.plane[1],
                        static_cast<size_t>(d.pitch[1]));
  }
  return planes;
}

// Runs `operation(src, dst, size, plane)` on matrices of their own. The source lies in the middle
// of a larger matrix: whatever OpenCV reads around it is there.
template <typename Operation>
void apply_to_planes(TestImage& dst, TestImage src, Operation operation) {
  const std::vector<cv::Mat> from = planes_of(src);
  const std::vector<cv::Mat> to = planes_of(dst);
  for (size_t i = 0; i < std::min(from.size(), to.size()); ++i) {
    cv::Mat padded;
    cv::copyMakeBorder(from[i], padded, 8, 8, 8, 8, cv::BORDER_REFLECT);
    const cv::Mat inner = padded(cv::Rect({8, 8}, from[i].size()));
    cv::Mat result;
    operation(inner, result, to[i].size(), i);
    result.copyTo(to[i]);
  }
}

const std::vector<uint32_t> kResized{QX_FMT_RGB24, QX_FMT_ARGB, QX_FMT_GRAY, QX_FMT_NV12,
                                     QX_FMT_NV21};

TEST(Resize, EveryFormatMethodAndShape) {
  for (const uint32_t format : kResized) {
    for (const test::Shape from : test::kShapes) {
      for (const test::Shape to : {from, {1, 1}, {2, 3}, {29, 50}, {64, 66}, {1030, 5}}) {
        for (const int method : {0, 1, 2, 3}) {
          const TestImage src(format, from.width, from.height, 5, 4, 1);
          TestImage dst(format, to.width, to.height, 3, 2, 2);
          TestImage expected = dst.clone();
          apply_to_planes(expected, src.clone(), [&](auto& s, auto& d, cv::Size size, size_t) {
            cv::resize(s, d, size, 0, 0, method);
          });
          ASSERT_EQ(mvk_resize(&dst, &src.descriptor(), static_cast<uint32_t>(method)), MVK_OK);
          ASSERT_TRUE(dst == expected) << dst << " from " << src << " by method " << method;
        }
      }
    }
  }
}

TEST(Resize, RowsThatDoNotFitTheirPitchAreLeftAlone) {
  for (const bool breaks_dst : {false, true}) {
    TestImage src(QX_FMT_RGB24, 8, 8);
    TestImage dst(QX_FMT_RGB24, 8, 8, 0, 0, 2);
    const TestImage before = dst.clone();
    (breaks_dst ? dst : src).descriptor().pitch[0] = 16;
    EXPECT_EQ(mvk_resize(&dst, &src, MVK_RESIZE_LINEAR), MVK_OK);
    EXPECT_TRUE(dst == before);
  }
}

TEST(Resize, InnerCallTakesUnknownMethodsAsNearestAndAbgrAsBytes) {
  TestImage src(QX_FMT_ABGR, 8, 8);
  TestImage dst(QX_FMT_ABGR, 4, 4, 0, 0, 2);
  TestImage expected = dst.clone();
  for (int i = 0; i < 16; ++i) expected.row(i / 4)[i % 4] = src.row(i / 4 * 2)[i % 4 * 2];
  kel::imgproc::resize(dst.descriptor(), src.descriptor(), InterpolationMethod{7});
  EXPECT_TRUE(dst == expected);
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

// Corners of an 80 x 60 rectangle turned about (100, 100) by trigonometry, and their bounding box.
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

// Warps by a matrix, and by the one that turns by 33.25 degrees about (17, 13) at scale 0.75.
TEST(WarpAffine, EveryFormatAgainstOpenCv) {
  for (const uint32_t format : kResized) {
    for (const test::Shape to : {test::Shape{40, 30}, {31, 33}, {1, 9}, {9, 1}}) {
      for (const bool turns : {false, true}) {
        const cv::Matx23d m = turns ? cv::Matx23d(kel::imgproc::get_affine_transform(
                                          {to.width, to.height}, {35, 27}, {17, 13}, -33.25, 0.75))
                                    : cv::Matx23d(0.8, -0.3, 7.5, 0.2, 1.1, -4);
        const int border = turns ? cv::BORDER_REPLICATE : cv::BORDER_CONSTANT;
        const TestImage src(format, 35, 27, 5, 4, 1);
        TestImage dst(format, to.width, to.height, 3, 2, 2);
        TestImage expected = dst.clone();
        apply_to_planes(expected, src.clone(), [&](auto& s, auto& d, cv::Size size, size_t plane) {
          const double part = plane == 1 ? 0.5 : 1.0;
          const cv::Matx23d own(m(0, 0), m(0, 1), m(0, 2) * part, m(1, 0), m(1, 1), m(1, 2) * part);
          cv::warpAffine(s, d, own, size, cv::INTER_CUBIC, border, cv::Scalar(10, 20, 30, 40));
        });
        if (turns) {
          kel::imgproc::rotate(dst.descriptor(), src.descriptor(), 33.25, {17, 13},
                               InterpolationMethod::kCubic, border, {{10, 20, 30, 40}}, 0.75);
        } else {
          kel::imgproc::warpAffine(dst.descriptor(), src.descriptor(), cv::Mat(m), cv::INTER_CUBIC,
                                   border, {{10, 20, 30, 40}});
        }
        EXPECT_TRUE(dst == expected) << dst << (turns ? " turned" : " warped");
      }
    }
  }
}

TEST(WarpAffine, WhatOpenCvWouldRefuseIsLeftAlone) {
  const TestImage src(QX_FMT_GRAY, 20, 10);
  const TestImage wide(QX_FMT_GRAY, 32767, 1);
  TestImage dst(QX_FMT_GRAY, 20, 10, 0, 0, 2);
  const TestImage before = dst.clone();
  const cv::Mat nan = (cv::Mat_<double>(2, 3) << 1, 0, NAN, 0, 1, 0);
  kel::imgproc::warpAffine(dst.descriptor(), src.descriptor(), nan, 1, 0, {});
  kel::imgproc::warpAffine(dst.descriptor(), wide.descriptor(), cv::Mat::eye(2, 3, CV_64F), 1, 0,
                           {});
  for (const double angle : {30.0, 1e300, HUGE_VAL, double{NAN}}) {
    for (const float centre : {1e12F, HUGE_VALF, NAN}) {
      kel::imgproc::rotate(dst.descriptor(), src.descriptor(), angle, {centre, 3},
                           InterpolationMethod::kLinear, 1, {}, 0.5);
    }
  }
  EXPECT_TRUE(dst == before);
}

}  // namespace
