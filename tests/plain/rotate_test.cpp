// mvk_rotate and the turns behind it: every format and angle against the pixel mapping.
#include <gtest/gtest.h>

#include <cmath>

#include "core/rotate.h"
#include "support/test_image.h"

namespace {

using kel::Point2D_;
using test::TestImage;
using GrayView = kel::imageprocess::PixelRegion_<QX_FMT_GRAY>;
using RgbView = kel::imageprocess::PixelRegion_<QX_FMT_RGB24>;

const std::vector<uint32_t> kTurned{QX_FMT_RGB24, QX_FMT_ARGB, QX_FMT_GRAY, QX_FMT_NV12,
                                    QX_FMT_NV21};

// Where pixel (x, y) of the turned w x h grid comes from.
test::Shape source_of(int x, int y, int w, int h, int angle) {
  if (angle == 0) return {x, y};
  if (angle == 90) return {y, h - 1 - x};
  if (angle == 180) return {w - 1 - x, h - 1 - y};
  return {w - 1 - y, x};
}

// w x h elements of `bytes`; a stride of 0 stands for packed rows.
void turn_plane(uint8_t* dst, int dst_stride, const uint8_t* src, int src_stride, int w, int h,
                int bytes, int angle) {
  const int width = angle % 180 == 0 ? w : h;
  if (dst_stride == 0) dst_stride = width * bytes;
  if (src_stride == 0) src_stride = w * bytes;
  for (int i = 0; i < w * h * bytes; ++i) {
    const int x = i / bytes % width;
    const int y = i / bytes / width;
    const test::Shape from = source_of(x, y, w, h, angle);
    dst[y * dst_stride + x * bytes + i % bytes] =
        src[from.height * src_stride + from.width * bytes + i % bytes];
  }
}

// Pitches count for RGB24, ARGB and copies only; two-plane images are turned in their even part.
void turn_by_hand(TestImage& dst, const TestImage& src, int angle) {
  const QX_OFFSCREEN& d = dst.descriptor();
  const QX_OFFSCREEN& s = src.descriptor();
  const int bytes = kel::imageprocess::bytes_per_pixel(s.format);
  const bool by_pitch = bytes > 1 || angle == 0;
  const bool is_nv = s.plane[1] != nullptr;
  const int w = is_nv ? s.width & ~1 : s.width;
  const int h = is_nv ? s.height & ~1 : s.height;
  const auto turn = [&](int plane, int width, int height, int size) {
    turn_plane(d.plane[plane], by_pitch ? d.pitch[plane] : 0, s.plane[plane],
               by_pitch ? s.pitch[plane] : 0, width, height, size, angle);
  };
  turn(0, w, h, bytes);
  if (is_nv) turn(1, w / 2, h / 2, 2);
}

TEST(Rotate, EveryFormatShapeAngleAndPadding) {
  for (const uint32_t format : kTurned) {
    for (const auto& [w, h] : test::kShapes) {
      for (const auto& [dst_pad, src_pad] : {std::pair{0, 0}, {0, 5}, {7, 0}}) {
        for (const int angle : {0, 90, 180, 270}) {
          const bool is_quarter = angle % 180 != 0;
          const TestImage src(format, w, h, src_pad, src_pad, 1);
          TestImage dst(format, is_quarter ? h : w, is_quarter ? w : h, dst_pad, dst_pad, 2);
          TestImage expected = dst.clone();
          turn_by_hand(expected, src, angle);
          ASSERT_EQ(mvk_rotate(&dst, &src.descriptor(), angle), MVK_OK);
          ASSERT_TRUE(dst == expected) << dst << " from " << src << " by " << angle;
        }
      }
    }
  }
}

// The mean of the side ratios is exactly 1 for 2x6 and 6x2; the others are scaled.
TEST(Rotate, DestinationsOfAnotherSizeAreLeftAlone) {
  for (const uint32_t format : kTurned) {
    for (const auto& [w, h] : {test::Shape{2, 6}, {6, 2}, {8, 8}, {1, 7}, {4, 6}, {4, 300}}) {
      const TestImage src(format, 4, 4);
      TestImage dst(format, w, h, 0, 0, 2);
      const TestImage before = dst.clone();
      for (const int angle : {0, 90, 180, 270}) {
        EXPECT_EQ(mvk_rotate(&dst, &src.descriptor(), angle), MVK_OK);
      }
      EXPECT_EQ(mvk_copy(&dst, &src.descriptor()), MVK_OK);
      EXPECT_TRUE(dst == before) << dst;
    }
  }
}

TEST(Rotate, AnglesAreTruncatedAndRgbTakesRightOnesOnly) {
  const std::pair<float, int> kCases[]{{360, 0},    {-0.9F, 0}, {90.7F, 90}, {-270, 90},
                                       {-180, 180}, {-90, 270}, {45, -1},    {-360, -1},
                                       {450, -1},   {1e30F, -1}};  // -1: nothing is written
  const TestImage src(QX_FMT_RGB24, 6, 6);
  for (const auto& [angle, same_as] : kCases) {
    TestImage dst(QX_FMT_RGB24, 6, 6, 0, 0, 2);
    TestImage expected = dst.clone();
    if (same_as >= 0) turn_by_hand(expected, src, same_as);
    RgbView view(dst.descriptor());
    kel::imageprocess::rotate(view, RgbView(src.descriptor()), {}, angle);
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

// Far and meaningless centres: the image's guards and the sanitizers judge, and the loops end.
TEST(GrayRotateAny, FollowsItsDefinitionAndStaysInside) {
  constexpr Point2D_<float> kCentres[]{{0, 0},        {18, 10.5F},    {-7.25F, 90},   {-0.3F, NAN},
                                       {3e7F, -3e9F}, {NAN, NAN},     {1e30F, 3},     {2, 1.7e7F},
                                       {-1e38F, 0},   {HUGE_VALF, 1}, {1, -HUGE_VALF}};
  const TestImage src(QX_FMT_GRAY, 37, 22, 5);
  for (const test::Shape shape : {test::Shape{37, 22}, {50, 61}, {8, 9}, {1, 1}}) {
    for (const Point2D_<float> centre : kCentres) {
      for (const float angle : {0.0F, 30.0F, 45.0F, -133.3F, 719.0F, 1e38F, HUGE_VALF, NAN}) {
        TestImage dst(QX_FMT_GRAY, shape.width, shape.height, 3, 0, 2);
        TestImage expected = dst.clone();
        GrayView view(dst.descriptor());
        kel::imageprocess::gray_rotate_any(view, GrayView(src.descriptor()), centre, angle);
        if (!(std::abs(centre.x) < 100 && std::abs(centre.y) < 100 && angle < 1000)) continue;
        rotate_by_hand(expected, src, centre.x, centre.y, angle);
        EXPECT_TRUE(dst == expected) << angle;
      }
    }
  }
}

}  // namespace
