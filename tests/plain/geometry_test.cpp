// Copy, rotation, scaling and warp: pixels are compared with OpenCV calls on the planes, scales and
// matrices with geometry.
#include <gtest/gtest.h>

#include <cmath>
#include <opencv2/imgproc.hpp>

#include "core/gray_rotate_any.h"
#include "core/rotate.h"
#include "core/turn.h"
#include "core/warp_affine.h"
#include "support/targets.h"
#include "support/test_image.h"

namespace {

using kel::Point2D_;
using kel::imageprocess::InterpolationMethod;
using kel::imageprocess::PixelRegion2P422_Impl;
using test::TestImage;
using GrayView = kel::imageprocess::PixelRegion_<QX_FMT_GRAY>;
using RgbView = kel::imageprocess::PixelRegion_<QX_FMT_RGB24>;

const std::vector<uint32_t> kFormats{QX_FMT_RGB24, QX_FMT_ARGB, QX_FMT_GRAY, QX_FMT_NV12,
                                     QX_FMT_NV21};

// Matrix headers of the planes, rows by pitch; chroma as pairs, if there are any.
std::vector<cv::Mat> planes_of(const QX_OFFSCREEN& d) {
  const int type = d.format == QX_FMT_RGB24 ? CV_8UC3 : d.format == QX_FMT_ARGB ? CV_8UC4 : CV_8UC1;
  std::vector<cv::Mat> planes;
  planes.emplace_back(d.height, d.width, type, d.plane[0], static_cast<size_t>(d.pitch[0]));
  if (d.plane[1] != nullptr && d.width > 1 && d.height > 1) {
    planes.emplace_back(d.height / 2, d.width / 2, CV_8UC2, d.plane[1],
                        static_cast<size_t>(d.pitch[1]));
  }
  return planes;
}

// What is moved: of two-plane images the even part. Rotation of formats with one byte per pixel
// expects packed rows.
std::vector<cv::Mat> moved_planes(QX_OFFSCREEN image, int angle) {
  const bool is_nv = image.plane[1] != nullptr;
  if (is_nv) {
    image.width &= ~1;
    image.height &= ~1;
  }
  if (image.width == 0 || image.height == 0) return {};
  const bool is_packed = angle > 0 && (is_nv || image.format == QX_FMT_GRAY);
  if (is_packed) image.pitch[0] = image.pitch[1] = image.width;
  return planes_of(image);
}

constexpr int kCopy = -1;  // instead of an angle

uint32_t move(const TestImage& dst, const TestImage& src, int angle) {
  return angle == kCopy ? mvk_copy(dst.get(), src.get()) : mvk_rotate(dst.get(), src.get(), angle);
}

void move_by_opencv(const TestImage& dst, const TestImage& src, int angle) {
  const std::vector<cv::Mat> from = moved_planes(src, angle);
  std::vector<cv::Mat> to = moved_planes(dst, angle);
  for (size_t i = 0; i < from.size(); ++i) {
    if (angle > 0) {
      cv::rotate(from[i], to[i], angle / 90 - 1);
    } else {
      from[i].copyTo(to[i]);
    }
  }
}

void expect_moved(const TestImage& src, int angle, int padding) {
  const bool swaps = angle > 0 && angle != 180;
  const TestImage dst(src.descriptor().format, swaps ? src.height() : src.width(),
                      swaps ? src.width() : src.height(), padding, padding, 2);
  const TestImage expected = dst.clone();
  move_by_opencv(expected, src, angle);
  ASSERT_EQ(move(dst, src, angle), MVK_OK);
  ASSERT_TRUE(dst == expected) << dst << " from " << src << " by " << angle;
}

// By every angle, into rows with any padding.
void expect_moved(const TestImage& src) {
  for (const int angle : {kCopy, 0, 90, 180, 270}) {
    for (const int padding : {0, 5, 7}) expect_moved(src, angle, padding);
  }
}

// The last shapes are processed in bands and strips.
TEST(Move, EveryFormatShapeAngleAndPadding) {
  std::vector<test::Shape> shapes = test::kShapes;
  shapes.insert(shapes.end(), {{8, 16}, {7, 16}, {8, 15}, {130, 530}, {16, 1100}, {700, 33}});
  for (const uint32_t format : kFormats) {
    for (const auto& [w, h] : shapes) {
      for (const int padding : {0, 5}) {
        const TestImage src(format, w, h, padding, 2 * padding);
        test::on_every_target([&] { expect_moved(src); });
      }
    }
  }
}

// The mean of the ratios of the sides is exactly 1 for 2x6 and 6x2; the others are scaled.
TEST(Move, DestinationsOfAnotherSizeAreLeftAlone) {
  for (const uint32_t format : kFormats) {
    const TestImage src(format, 4, 4);
    for (const auto& [w, h] : {test::Shape{2, 6}, {6, 2}, {8, 8}, {1, 7}, {4, 6}, {4, 300}}) {
      const TestImage dst(format, w, h, 0, 0, 2);
      const TestImage before = dst.clone();
      for (const int angle : {kCopy, 0, 90, 180, 270}) EXPECT_EQ(move(dst, src, angle), MVK_OK);
      EXPECT_TRUE(dst == before) << dst;
    }
  }
}

TEST(Move, PlanesOfAViewAreCopiedOneByOne) {
  const TestImage src(QX_FMT_NV12, 8, 8);
  const TestImage dst(QX_FMT_NV12, 8, 8, 0, 0, 2);
  const TestImage expected = dst.clone();
  planes_of(src)[1].copyTo(planes_of(expected)[1]);
  PixelRegion2P422_Impl to(dst);
  to.y.rows = 6;  // does not fit
  to.copy(PixelRegion2P422_Impl(src));
  to.width = 7;
  EXPECT_EQ(to.copy(to).width, 6);
  EXPECT_TRUE(dst == expected);
}

TEST(Rotate, AnglesAreTruncatedAndRgbTakesRightOnesOnly) {
  const std::pair<float, int> kCases[]{{360, 0},    {-0.9F, 0}, {90.7F, 90}, {-270, 90},
                                       {-180, 180}, {-90, 270}, {45, -1},    {-360, -1},
                                       {450, -1},   {1e30F, -1}};  // -1: nothing is written
  const TestImage src(QX_FMT_RGB24, 6, 6);
  for (const auto& [angle, same_as] : kCases) {
    TestImage dst(QX_FMT_RGB24, 6, 6, 0, 0, 2);
    const TestImage expected = dst.clone();
    if (same_as >= 0) move_by_opencv(expected, src, same_as);
    RgbView view(dst);
    kel::imageprocess::rotate(view, RgbView(src), {}, angle);
    EXPECT_TRUE(dst == expected) << angle;
  }
}

// The definition of the gray rotation, sample by sample.
void rotate_by_hand(TestImage& dst, const TestImage& src, float cx, float cy, float angle) {
  const double theta = angle * -0.017453292519943295;
  const auto half = [](int size) { return static_cast<float>(size * 0.5); };
  const float x0 = half(src.width()) - half(dst.width()) - cx;
  const float y0 = half(src.height()) - half(dst.height()) - cy;
  const float x1 = x0 + static_cast<float>(dst.width() - 1);
  const float y1 = y0 + static_cast<float>(dst.height() - 1);
  for (int y = static_cast<int>(y0), r = 0; static_cast<float>(y) <= y1; ++y, ++r) {
    for (int x = static_cast<int>(x0), i = 0; static_cast<float>(x) <= x1; ++x, ++i) {
      const double u = x * std::cos(theta) - y * std::sin(theta);
      const double v = x * std::sin(theta) + y * std::cos(theta);
      const bool inside = u >= -cx && u <= static_cast<float>(src.width() - 1) - cx && v >= -cy &&
                          v <= static_cast<float>(src.height() - 1) - cy;
      dst.row(r)[i] = inside ? src.row(static_cast<int>(v + cy))[static_cast<int>(u + cx)] : 0;
    }
  }
}

// Far and meaningless centres: nothing outside the image is touched, and the loops end.
TEST(GrayRotateAny, FollowsItsDefinitionAndStaysInside) {
  constexpr Point2D_<float> kCentres[]{{0, 0},        {18, 10.5F},    {-7.25F, 90},   {-0.3F, NAN},
                                       {3e7F, -3e9F}, {NAN, NAN},     {1e30F, 3},     {2, 1.7e7F},
                                       {-1e38F, 0},   {HUGE_VALF, 1}, {1, -HUGE_VALF}};
  const TestImage src(QX_FMT_GRAY, 37, 22, 5);
  for (const test::Shape shape : {test::Shape{37, 22}, {50, 61}, {8, 9}, {1, 1}}) {
    for (const Point2D_<float> centre : kCentres) {
      for (const float angle : {0.0F, 30.0F, 45.0F, -133.3F, 719.0F, 1e38F, HUGE_VALF, NAN}) {
        const TestImage dst(QX_FMT_GRAY, shape.width, shape.height, 3, 0, 2);
        TestImage expected = dst.clone();
        GrayView view(dst);
        kel::imageprocess::gray_rotate_any(view, GrayView(src), centre, angle);
        if (!(std::abs(centre.x) < 100 && std::abs(centre.y) < 100 && angle < 1000)) continue;
        rotate_by_hand(expected, src, centre.x, centre.y, angle);
        EXPECT_TRUE(dst == expected) << angle;
      }
    }
  }
}

// Runs `judge(src, dst, plane)` for every plane of both. The source is in the middle of a larger
// matrix, since OpenCV may read around it.
template <typename Judge>
void judge_planes(const TestImage& dst, const TestImage& src, Judge judge) {
  const std::vector<cv::Mat> from = planes_of(src);
  std::vector<cv::Mat> to = planes_of(dst);
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
  for (const uint32_t format : kFormats) {
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
