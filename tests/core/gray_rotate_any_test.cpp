// Rotation of gray images by any angle against its definition.
#include "core/gray_rotate_any.h"

#include <gtest/gtest.h>

#include <cmath>

#include "support/test_image.h"

namespace {

using kel::Point2D_;
using test::TestImage;
using GrayView = kel::imageprocess::PixelRegion_<QX_FMT_GRAY>;

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

}  // namespace
