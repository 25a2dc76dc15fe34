// mvk_copy and mvk_rotate, and rotation of typed views, against OpenCV calls on the planes.
#include <gtest/gtest.h>

#include "core/planes.h"
#include "core/rotate.h"
#include "core/turn.h"
#include "support/targets.h"

namespace {

using kel::imageprocess::PixelRegion2P422_Impl;
using test::TestImage;
using RgbView = kel::imageprocess::PixelRegion_<QX_FMT_RGB24>;

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
  return test::planes_of(image);
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

// The last shapes are processed in tiles.
TEST(Move, EveryFormatShapeAngleAndPadding) {
  std::vector<test::Shape> shapes = test::kShapes;
  shapes.insert(shapes.end(), {{8, 16}, {7, 16}, {8, 15}, {130, 530}, {16, 1100}, {700, 33}});
  for (const uint32_t format : test::kMovedFormats) {
    for (const auto& [w, h] : shapes) {
      for (const int padding : {0, 5}) {
        const TestImage src(format, w, h, padding, 2 * padding);
        test::on_every_target([&] { expect_moved(src); });
      }
    }
  }
}

TEST(Move, RowsThatOverlapAreWrittenFromTheTop) {
  for (const uint32_t format : {QX_FMT_RGB24, QX_FMT_ARGB}) {
    for (const auto& [w, h] : {test::Shape{4, 3}, {300, 200}}) {
      for (const int angle : {kCopy, 90, 180, 270}) {
        const TestImage src(format, w, h);
        const cv::Mat from = test::planes_of(src)[0];
        cv::Mat moved = from.clone();
        if (angle > 0) cv::rotate(from, moved, angle / 90 - 1);
        TestImage dst(format, moved.cols, moved.rows, 0, 0, 2);
        dst.descriptor().pitch[0] = moved.cols + 1;
        TestImage expected = dst.clone();
        for (int y = 0; y < moved.rows; ++y) {
          std::memcpy(expected.row(y), moved.ptr(y), moved.step[0]);
        }
        EXPECT_EQ(move(dst, src, angle), MVK_OK);
        EXPECT_TRUE(dst == expected) << dst << " by " << angle;
      }
    }
  }
}

// The mean of the ratios of the sides is exactly 1 for 2x6 and 6x2; the others are scaled.
TEST(Move, DestinationsOfAnotherSizeAreLeftAlone) {
  for (const uint32_t format : test::kMovedFormats) {
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
  test::planes_of(src)[1].copyTo(test::planes_of(expected)[1]);
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

}  // namespace
