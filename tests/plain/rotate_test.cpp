// mvk_rotate and the turns behind it: every format and angle against the pixel mapping.
#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "core/rotate.h"
#include "support/bad_arguments.h"
#include "support/test_image.h"

namespace {

using kel::Point2D_;
using test::TestImage;

const std::vector<uint32_t> kTurned{QX_FMT_RGB24, QX_FMT_ARGB, QX_FMT_GRAY, QX_FMT_NV12,
                                    QX_FMT_NV21};

// Where pixel (x, y) of the turned w x h grid comes from.
test::Shape source_of(int x, int y, int w, int h, int angle) {
  if (angle == 90) return {y, h - 1 - x};
  if (angle == 180) return {w - 1 - x, h - 1 - y};
  return {w - 1 - y, x};
}

// w x h elements of `bytes`, rows `dst_stride` and `src_stride` apart.
void turn_by_hand(uint8_t* dst, int dst_stride, const uint8_t* src, int src_stride, int w, int h,
                  int bytes, int angle) {
  for (int y = 0; y < (angle == 180 ? h : w); ++y) {
    for (int x = 0; x < (angle == 180 ? w : h); ++x) {
      const test::Shape from = source_of(x, y, w, h, angle);
      for (int i = 0; i < bytes; ++i) {
        dst[y * dst_stride + x * bytes + i] =
            src[from.height * src_stride + from.width * bytes + i];
      }
    }
  }
}

void turn_by_hand(TestImage& dst, const TestImage& src, int angle) {
  const uint32_t format = src.descriptor().format;
  const bool is_nv = format == QX_FMT_NV12 || format == QX_FMT_NV21;
  const int w = is_nv ? src.width() & ~1 : src.width();
  const int h = is_nv ? src.height() & ~1 : src.height();
  const int turned = angle == 180 ? w : h;
  if (format == QX_FMT_RGB24 || format == QX_FMT_ARGB) {
    turn_by_hand(dst.row(0), dst.descriptor().pitch[0], src.row(0), src.descriptor().pitch[0], w, h,
                 format == QX_FMT_RGB24 ? 3 : 4, angle);
  } else {
    turn_by_hand(dst.row(0), turned, src.row(0), w, w, h, 1, angle);
  }
  if (is_nv) turn_by_hand(dst.row(0, 1), turned, src.row(0, 1), w, w / 2, h / 2, 2, angle);
}

TEST(Rotate, EveryFormatShapeAngleAndPadding) {
  for (const uint32_t format : kTurned) {
    for (const test::Shape shape : test::kShapes) {
      for (const auto& [dst_pad, src_pad] : {std::pair{0, 0}, {0, 5}, {7, 0}}) {
        for (const int angle : {0, 90, 180, 270}) {
          const bool is_quarter = angle % 180 != 0;
          const TestImage src(format, shape.width, shape.height, src_pad, src_pad, 1);
          TestImage dst(format, is_quarter ? shape.height : shape.width,
                        is_quarter ? shape.width : shape.height, dst_pad, dst_pad, 2);
          TestImage expected = dst.clone();
          if (angle == 0) {
            mvk_copy(&expected, &src.descriptor());
          } else {
            turn_by_hand(expected, src, angle);
          }
          ASSERT_EQ(mvk_rotate(&dst, &src.descriptor(), angle), MVK_OK);
          ASSERT_TRUE(dst == expected) << dst << " from " << src << " by " << angle;
        }
      }
    }
  }
}

// 2x6 and 3x5 give a mean ratio of exactly 1 for a 4x4 source; the others do not.
TEST(Rotate, DestinationsOfAnotherSizeAreLeftAlone) {
  for (const uint32_t format : kTurned) {
    for (const test::Shape shape : {test::Shape{2, 6}, {6, 2}, {8, 8}, {1, 1}, {1, 7}, {4, 300}}) {
      for (const int angle : {0, 90, 180, 270}) {
        const TestImage src(format, 4, 4);
        TestImage dst(format, shape.width, shape.height, 0, 0, 2);
        const TestImage before = dst.clone();
        EXPECT_EQ(mvk_rotate(&dst, &src.descriptor(), angle), MVK_OK);
        EXPECT_TRUE(dst == before) << dst << " by " << angle;
      }
    }
  }
}

TEST(Rotate, AnglesAreTruncatedAndOnlyGrayTakesOtherThanRightOnes) {
  const struct {
    float angle;
    int same_as;  // -1: not a right angle
  } kCases[]{{360, 0}, {-0.9F, 0}, {90.7F, 90}, {-270, 90},  {-180.5F, 180}, {-90, 270},
             {45, -1}, {-360, -1}, {450, -1},   {1e30F, -1}, {-1e30F, -1}};
  using kel::imageprocess::PixelRegion_;
  const TestImage src(QX_FMT_RGB24, 6, 6);
  const TestImage gray_src(QX_FMT_GRAY, 6, 6);
  for (const auto& [angle, same_as] : kCases) {
    TestImage dst(QX_FMT_RGB24, 6, 6, 0, 0, 2);
    TestImage expected = dst.clone();
    if (same_as >= 0) mvk_rotate(&expected, &src.descriptor(), same_as);
    PixelRegion_<QX_FMT_RGB24> view(dst.descriptor());
    kel::imageprocess::rotate(view, PixelRegion_<QX_FMT_RGB24>(src.descriptor()), {}, angle);
    EXPECT_TRUE(dst == expected) << angle;

    TestImage gray(QX_FMT_GRAY, 6, 6, 0, 0, 2);
    const TestImage before = gray.clone();
    PixelRegion_<QX_FMT_GRAY> gray_view(gray.descriptor());
    kel::imageprocess::rotate(gray_view, PixelRegion_<QX_FMT_GRAY>(gray_src.descriptor()), {},
                              angle);
    EXPECT_FALSE(gray == before) << angle;
  }
}

// The definition, sample by sample.
void rotate_by_hand(TestImage& dst, const TestImage& src, float cx, float cy, float angle) {
  const double theta = angle * -0.017453292519943295;
  const float x0 =
      static_cast<float>(src.width() * 0.5) - static_cast<float>(dst.width() * 0.5) - cx;
  const float y0 =
      static_cast<float>(src.height() * 0.5) - static_cast<float>(dst.height() * 0.5) - cy;
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

TestImage rotate_any(const TestImage& src, test::Shape shape, Point2D_<float> centre, float angle) {
  using View = kel::imageprocess::PixelRegion_<QX_FMT_GRAY>;
  TestImage dst(QX_FMT_GRAY, shape.width, shape.height, 3, 0, 2);
  View view(dst.descriptor());
  kel::imageprocess::gray_rotate_any(view, View(src.descriptor()), centre, angle);
  return dst;
}

TEST(GrayRotateAny, FollowsItsDefinition) {
  const TestImage src(QX_FMT_GRAY, 37, 22, 5);
  for (const test::Shape shape : {test::Shape{37, 22}, {50, 61}, {8, 9}, {1, 1}}) {
    for (const Point2D_<float> centre : {Point2D_<float>{0, 0}, {18, 10.5F}, {-7.25F, 90}}) {
      for (const float angle : {0.0F, 30.0F, 45.0F, 90.0F, -133.3F, 719.0F}) {
        TestImage expected(QX_FMT_GRAY, shape.width, shape.height, 3, 0, 2);
        rotate_by_hand(expected, src, centre.x, centre.y, angle);
        EXPECT_TRUE(rotate_any(src, shape, centre, angle) == expected) << angle;
      }
    }
  }
}

// The images' guards and sanitizers judge; the loops end because the destination does.
TEST(GrayRotateAny, StaysInsideForAnyCentreAndAngle) {
  constexpr float kInfinity = std::numeric_limits<float>::infinity();
  const TestImage src(QX_FMT_GRAY, 9, 7);
  for (const float x :
       {0.0F, -0.3F, 3e7F, -1e9F, 3e9F, 1e30F, -1e38F, kInfinity, -kInfinity, NAN}) {
    for (const float y : {0.0F, 1.7e7F, -3e9F, kInfinity, NAN}) {
      for (const float angle : {0.0F, 12.5F, 1e38F, kInfinity, NAN}) {
        rotate_any(src, {9, 7}, {x, y}, angle);
        rotate_any(src, {40, 31}, {x, y}, angle);
      }
    }
  }
}

TEST(Rotate, BadArguments) {
  for (const uint32_t format : {QX_FMT_GRAY, QX_FMT_NV21}) {
    TestImage src(format, 8, 8);
    TestImage dst(format, 8, 8, 0, 0, 2);
    std::vector<test::BrokenField> fields = test::kBrokenFields;
    fields.push_back({"ABGR", [](QX_OFFSCREEN& image) { image.format = QX_FMT_ABGR; }});
    fields.push_back({"other format", [](QX_OFFSCREEN& image) { image.format = QX_FMT_NV12; }});
    const auto call = [&] { return mvk_rotate(&dst, &src, 90); };
    test::expect_refused(src, dst, fields, call);
    test::expect_refused(dst, dst, fields, call);
    for (const int angle : {-90, 1, 89, 91, 179, 360, 450}) {
      EXPECT_EQ(mvk_rotate(&dst, &src, angle), MVK_BAD_ARGUMENT) << angle;
    }
  }
}

}  // namespace
