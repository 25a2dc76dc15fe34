// mvk_resize, warps and rotation by any angle against OpenCV's calls on copies of the planes.
#include <gtest/gtest.h>
#include <sys/mman.h>

#include <cmath>
#include <opencv2/imgproc.hpp>

#include "core/imgproc.h"
#include "support/bad_arguments.h"
#include "support/test_image.h"

namespace {

using test::TestImage;

struct PlaneShape {
  int plane;
  int width;
  int height;
  int type;
};

std::vector<PlaneShape> planes_of(const TestImage& image) {
  const uint32_t format = image.descriptor().format;
  const int w = image.width();
  const int h = image.height();
  if (format == QX_FMT_RGB24) return {{0, w, h, CV_8UC3}};
  if (format == QX_FMT_ARGB) return {{0, w, h, CV_8UC4}};
  if (format == QX_FMT_GRAY) return {{0, w, h, CV_8UC1}};
  if (w < 2 || h < 2) return {{0, w, h, CV_8UC1}};
  return {{0, w, h, CV_8UC1}, {1, w / 2, h / 2, CV_8UC2}};
}

cv::Mat plane_mat(TestImage& image, const PlaneShape& shape) {
  return cv::Mat(shape.height, shape.width, shape.type, image.row(0, shape.plane),
                 static_cast<size_t>(image.descriptor().pitch[shape.plane]));
}

// Runs `operation(src, dst, plane)` on matrices of their own and puts the results into dst's
// planes. The source lies in the middle of a larger matrix: whatever it reads around is there.
template <typename Operation>
void apply_to_planes(TestImage& dst, TestImage src, Operation operation) {
  const std::vector<PlaneShape> from = planes_of(src);
  const std::vector<PlaneShape> to = planes_of(dst);
  for (size_t i = 0; i < std::min(from.size(), to.size()); ++i) {
    cv::Mat padded;
    cv::copyMakeBorder(plane_mat(src, from[i]), padded, 8, 8, 8, 8, cv::BORDER_REFLECT);
    cv::Mat result;
    operation(padded(cv::Rect(8, 8, from[i].width, from[i].height)), result,
              cv::Size(to[i].width, to[i].height), to[i].plane);
    result.copyTo(plane_mat(dst, to[i]));
  }
}

const std::vector<uint32_t> kResized{QX_FMT_RGB24, QX_FMT_ARGB, QX_FMT_GRAY, QX_FMT_NV12,
                                     QX_FMT_NV21};

TEST(Resize, EveryFormatMethodAndShape) {
  for (const uint32_t format : kResized) {
    for (const test::Shape from : test::kShapes) {
      for (const test::Shape to :
           {from, test::Shape{1, 1}, {2, 3}, {29, 50}, {64, 66}, {1030, 5}}) {
        for (const uint32_t method :
             {MVK_RESIZE_NEAREST, MVK_RESIZE_LINEAR, MVK_RESIZE_CUBIC, MVK_RESIZE_AREA}) {
          const TestImage src(format, from.width, from.height, 5, 4, 1);
          TestImage dst(format, to.width, to.height, 3, 2, 2);
          TestImage expected = dst.clone();
          apply_to_planes(expected, src.clone(),
                          [&](const cv::Mat& s, cv::Mat& d, cv::Size size, int) {
                            cv::resize(s, d, size, 0, 0, static_cast<int>(method));
                          });
          ASSERT_EQ(mvk_resize(&dst, &src.descriptor(), method), MVK_OK);
          ASSERT_TRUE(dst == expected) << dst << " from " << src << " by method " << method;
        }
      }
    }
  }
}

TEST(Resize, ReadsNothingInFrontOfAPlane) {
  constexpr size_t kPage = 65536;
  void* pages =
      mmap(nullptr, 2 * kPage, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
  ASSERT_NE(pages, MAP_FAILED);
  ASSERT_EQ(mprotect(pages, kPage, PROT_NONE), 0);
  for (const uint32_t method : {0U, 1U, 2U, 3U}) {
    TestImage dst(QX_FMT_NV12, 50, 50);
    TestImage src(QX_FMT_NV12, 100, 100);
    src.descriptor().plane[1] = static_cast<uint8_t*>(pages) + kPage;
    EXPECT_EQ(mvk_resize(&dst, &src, method), MVK_OK);
  }
  munmap(pages, 2 * kPage);
}

TEST(Resize, RowsThatDoNotFitTheirPitchAreLeftAlone) {
  for (const uint32_t format : {QX_FMT_RGB24, QX_FMT_ARGB}) {
    for (const bool breaks_dst : {false, true}) {
      TestImage src(format, 8, 8);
      TestImage dst(format, 8, 8, 0, 0, 2);
      const TestImage before = dst.clone();
      (breaks_dst ? dst : src).descriptor().pitch[0] = 16;
      EXPECT_EQ(mvk_resize(&dst, &src, MVK_RESIZE_LINEAR), MVK_OK);
      EXPECT_TRUE(dst == before);
    }
  }
}

TEST(Resize, InnerCallTakesUnknownMethodsAsNearestAndAbgrAsBytes) {
  TestImage src(QX_FMT_ABGR, 8, 8);
  TestImage dst(QX_FMT_ABGR, 4, 4, 0, 0, 2);
  TestImage expected = dst.clone();
  for (int y = 0; y < 4; ++y) {
    for (int x = 0; x < 4; ++x) expected.row(y)[x] = src.row(2 * y)[2 * x];
  }
  kel::imgproc::resize(dst.descriptor(), src.descriptor(),
                       static_cast<kel::imageprocess::InterpolationMethod>(7));
  EXPECT_TRUE(dst == expected);
}

TEST(Resize, BadArguments) {
  TestImage src(QX_FMT_NV12, 8, 8);
  TestImage dst(QX_FMT_NV12, 6, 6, 0, 0, 2);
  std::vector<test::BrokenField> fields = test::kBrokenFields;
  fields.insert(fields.end(), test::kBrokenChromaFields.begin(), test::kBrokenChromaFields.end());
  fields.push_back({"ABGR", [](QX_OFFSCREEN& image) { image.format = QX_FMT_ABGR; }});
  fields.push_back({"other format", [](QX_OFFSCREEN& image) { image.format = QX_FMT_NV21; }});
  const auto call = [&] { return mvk_resize(&dst, &src, MVK_RESIZE_AREA); };
  test::expect_refused(src, dst, fields, call);
  test::expect_refused(dst, dst, fields, call);
  EXPECT_EQ(mvk_resize(&dst, &src, 4), MVK_BAD_ARGUMENT);
}

TEST(ResizeScale, FollowsSidesAndAngle) {
  const struct {
    kel::Size_<int> dst, src;
    double angle;
    double scale;
  } kCases[]{{{200, 100}, {100, 200}, 90, 1.0},   {{200, 100}, {100, 200}, 0, 1.25},
             {{200, 100}, {100, 200}, -450, 1.0}, {{200, 100}, {100, 200}, 180, 1.25},
             {{50, 40}, {100, 80}, 360, 0.5},     {{200, 160}, {100, 80}, 30, 2.0},
             {{50, 50}, {100, 80}, 44.5, 0.5625}};
  for (const auto& [dst, src, angle, scale] : kCases) {
    const bool is_right = angle == std::trunc(angle) && std::fmod(angle, 90) == 0;
    EXPECT_NEAR(kel::imgproc::get_resize_scale(dst, src, angle), scale, is_right ? 0 : 0.03);
  }
}

// Corners 0 to 2 of the turned rectangle, by trigonometry.
TEST(AffineTransform, MovesCornersToTheTurnedBoundingBox) {
  for (const double degrees : {0.0, 30.0, -75.5, 200.0}) {
    const double t = -degrees * CV_PI / 180;
    const cv::Matx22d turn(std::cos(t), -std::sin(t), std::sin(t), std::cos(t));
    const cv::Vec2d corners[]{turn * cv::Vec2d(-40, 30), turn * cv::Vec2d(-40, -30),
                              turn * cv::Vec2d(40, -30), turn * cv::Vec2d(40, 30)};
    cv::Vec2d low(1e9, 1e9);
    cv::Vec2d high(-1e9, -1e9);
    for (const cv::Vec2d& corner : corners) {
      for (int i = 0; i < 2; ++i) {
        low[i] = std::min(low[i], std::floor(corner[i] + 100 + 1e-4));
        high[i] = std::max(high[i], std::ceil(corner[i] + 100 - 1e-4));
      }
    }
    const cv::Vec2d box = high - low + cv::Vec2d(1, 1);
    for (const double scale : {0.0, 0.5}) {
      const cv::Matx23d m =
          kel::imgproc::get_affine_transform({160, 120}, {80, 60}, {100, 100}, degrees, scale);
      const double s = scale > 0 ? scale : (160 / box[0] + 120 / box[1]) / 2;
      const cv::Vec3d from[]{{0, 59, 1}, {0, 0, 1}, {79, 0, 1}};
      for (int i = 0; i < 3; ++i) {
        const cv::Vec2d expected = (corners[i] + cv::Vec2d(100, 100) - low) * s;
        EXPECT_LT(cv::norm(m * from[i] - expected), 0.05) << degrees << ' ' << scale;
      }
    }
  }
}

void warp_by_hand(TestImage& dst, const TestImage& src, const cv::Mat& m, int flags, int border) {
  apply_to_planes(dst, src.clone(), [&](const cv::Mat& s, cv::Mat& d, cv::Size size, int plane) {
    const double half = plane == 1 ? 0.5 : 1.0;
    const cv::Matx23d halved(m.at<double>(0, 0), m.at<double>(0, 1), m.at<double>(0, 2) * half,
                             m.at<double>(1, 0), m.at<double>(1, 1), m.at<double>(1, 2) * half);
    cv::warpAffine(s, d, halved, size, flags, border, cv::Scalar(10, 20, 30, 40));
  });
}

TEST(WarpAffine, EveryFormatAgainstOpenCv) {
  const cv::Mat matrix = (cv::Mat_<double>(2, 3) << 0.8, -0.3, 7.5, 0.2, 1.1, -4);
  for (const uint32_t format : kResized) {
    for (const test::Shape to : {test::Shape{40, 30}, {31, 33}, {1, 9}, {9, 1}}) {
      for (const int border : {cv::BORDER_CONSTANT, cv::BORDER_REPLICATE}) {
        const TestImage src(format, 35, 27, 5, 4, 1);
        TestImage dst(format, to.width, to.height, 3, 2, 2);
        TestImage warped = dst.clone();
        TestImage turned = dst.clone();
        TestImage expected = dst.clone();
        warp_by_hand(expected, src, matrix, cv::INTER_LINEAR, border);
        kel::imgproc::warpAffine(warped.descriptor(), src.descriptor(), matrix, cv::INTER_LINEAR,
                                 border, {{10, 20, 30, 40}});
        EXPECT_TRUE(warped == expected) << dst << " warped";

        expected = dst.clone();
        const cv::Mat turn = kel::imgproc::get_affine_transform({to.width, to.height}, {35, 27},
                                                                {17, 13}, -33.25, 0.75);
        warp_by_hand(expected, src, turn, cv::INTER_CUBIC, border);
        kel::imgproc::rotate(turned.descriptor(), src.descriptor(), 33.25, {17, 13},
                             kel::imageprocess::InterpolationMethod::kCubic, border,
                             {{10, 20, 30, 40}}, 0.75);
        EXPECT_TRUE(turned == expected) << dst << " turned";
      }
    }
  }
}

TEST(WarpAffine, WhatOpenCvWouldRefuseIsLeftAlone) {
  const TestImage src(QX_FMT_NV12, 20, 10);
  TestImage dst(QX_FMT_NV12, 20, 10, 0, 0, 2);
  const TestImage before = dst.clone();
  for (const double wrong : {double{NAN}, HUGE_VAL}) {
    const cv::Mat matrix = (cv::Mat_<double>(2, 3) << 1, 0, wrong, 0, 1, 0);
    kel::imgproc::warpAffine(dst.descriptor(), src.descriptor(), matrix, 1, 0, {});
  }
  for (const double angle : {30.0, 1e300, HUGE_VAL, double{NAN}}) {
    for (const float centre : {1e12F, HUGE_VALF, NAN}) {
      kel::imgproc::rotate(dst.descriptor(), src.descriptor(), angle, {centre, 3},
                           kel::imageprocess::InterpolationMethod::kLinear, 1, {}, 0.5);
    }
  }
  EXPECT_TRUE(dst == before);
  TestImage wide(QX_FMT_GRAY, 32767, 1);
  TestImage line(QX_FMT_GRAY, 10, 1, 0, 0, 2);
  const TestImage line_before = line.clone();
  kel::imgproc::warpAffine(line.descriptor(), wide.descriptor(), cv::Mat::eye(2, 3, CV_64F), 1, 0,
                           {});
  EXPECT_TRUE(line == line_before);
}

}  // namespace
