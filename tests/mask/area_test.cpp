// mvk_fill_area_up against the drawing call, mvk_get_mask_roi against a plain loop.
#include <gtest/gtest.h>

#include "mask/fill_area_up.h"
#include "mask/masks.h"
#include "support/bad_arguments.h"

namespace {

using test::Kind;
using test::TestImage;

void expect_area(int width, int height, const std::vector<TPOINT>& points) {
  TestImage image(QX_FMT_GRAY, width, height, 2);
  const TPOINT none{};
  ASSERT_EQ(mvk_fill_area_up(&image, static_cast<uint32_t>(points.size()),
                             points.empty() ? &none : points.data()),
            MVK_OK);
  cv::Mat expected = cv::Mat::zeros(height, width, CV_8UC1);
  std::vector<std::vector<cv::Point>> contours(1);
  for (const TPOINT& point : points) contours[0].emplace_back(point.x, point.y);
  if (!points.empty()) {
    cv::drawContours(expected, contours, 0, cv::Scalar(255), -1, 0, cv::noArray(), INT_MAX,
                     cv::Point());
  }
  ASSERT_TRUE(test::holds(image, expected)) << points.size() << " points";
}

TEST(FillArea, RandomPolygons) {
  test::Random random(5);
  for (const test::Shape shape : test::kShapes) {
    for (int count = 0; count < 12; ++count) {
      std::vector<TPOINT> near(static_cast<size_t>(count));
      for (TPOINT& p : near)
        p = {random.range(-9, shape.width + 9), random.range(-9, shape.height + 9)};
      expect_area(shape.width, shape.height, near);
      for (TPOINT& p : near) p.x = static_cast<int32_t>(random.next());
      expect_area(shape.width, shape.height, near);
    }
  }
}

TEST(FillArea, CornersOfTheCoordinateRange) {
  expect_area(20, 10, {{INT32_MIN, 3}, {INT32_MAX, 4}, {INT32_MAX, 8}});
  expect_area(20, 10, {{3, INT32_MAX}, {9, INT32_MAX - 5}, {INT32_MIN, INT32_MAX}});
  expect_area(20, 10, {{INT32_MAX, INT32_MAX}});
  expect_area(20, 10, {{4, -70000}, {12, 70000}, {INT32_MAX, 0}});
}

TEST(FillArea, Refusals) {
  TestImage image(QX_FMT_GRAY, 9, 6, 4);
  const TPOINT points[3] = {{0, 0}, {5, 0}, {0, 5}};
  test::expect_refused(image, image, test::kBrokenFields,
                       [&] { return mvk_fill_area_up(&image, 3, points); });
  EXPECT_EQ(mvk_fill_area_up(&image, 3, nullptr), MVK_BAD_ARGUMENT);
  EXPECT_EQ(mvk_fill_area_up(nullptr, 3, points), MVK_BAD_ARGUMENT);
  cv::Mat wide(4, 4, CV_16UC1);
  EXPECT_EQ(kel::mask::fill_area_up(wide, {}), MVK_BAD_ARGUMENT);
}

void expect_roi(TestImage& image, uint32_t level) {
  int left = image.width(), top = image.height(), right = 0, bottom = 0;
  for (int y = 0; y < image.height(); ++y) {
    for (int x = 0; x < image.width(); ++x) {
      if (image.row(y)[x] < level) continue;
      left = std::min(left, x), right = std::max(right, x);
      top = std::min(top, y), bottom = std::max(bottom, y);
    }
  }
  const bool found = top < image.height();
  MKRect rect{9, 9, 9, 9};
  ASSERT_EQ(mvk_get_mask_roi(&image, &rect, level), found ? MVK_OK : MVK_NOT_FOUND)
      << image << level;
  if (!found) left = top = 0;
  ASSERT_EQ(
      (std::vector<uint32_t>{rect.left, rect.top, rect.right, rect.bottom}),
      (std::vector<uint32_t>{uint32_t(left), uint32_t(top), uint32_t(right), uint32_t(bottom)}))
      << image << " level " << level;
}

TEST(Roi, EveryLevelShapeAndPitch) {
  test::Random random(3);
  for (const test::Shape shape : test::kShapes) {
    for (const int padding : {0, 9}) {
      TestImage image(QX_FMT_GRAY, shape.width, shape.height, padding);
      for (const uint32_t level : {1U, 2U, 127U, 254U, 256U, UINT32_MAX}) expect_roi(image, level);
      for (int y = 0; y < shape.height; ++y) std::fill_n(image.row(y), shape.width, uint8_t{0});
      expect_roi(image, 1);
      for (int i = 0; i < 6; ++i) {  // the padding is still random
        image.row(random.range(0, shape.height - 1))[random.range(0, shape.width - 1)] =
            static_cast<uint8_t>(40 * i + 1);
        for (uint32_t level = 1; level < 255; ++level) expect_roi(image, level);
      }
    }
  }
}

TEST(Roi, ShapesAndTheirShifts) {
  test::Random random(4);
  for (int i = 0; i < 60; ++i) {
    TestImage image = test::make_mask(Kind::Empty, 300, 200);
    const cv::Rect box(random.range(0, 150), random.range(0, 100), random.range(1, 150),
                       random.range(1, 100));
    for (int y = box.y; y < box.br().y; ++y)
      std::fill_n(image.row(y) + box.x, box.width, uint8_t{200});
    expect_roi(image, 200);
    expect_roi(image, 201);
  }
}

TEST(Roi, RefusalsAndNothing) {
  TestImage image(QX_FMT_GRAY, 9, 6);
  const std::vector<test::BrokenField> fields{test::kBrokenFields[0], test::kBrokenFields[7],
                                              test::kBrokenFields[8]};
  MKRect rect{};
  test::expect_refused(image, image, fields, [&] { return mvk_get_mask_roi(&image, &rect, 5); });
  EXPECT_EQ(mvk_get_mask_roi(nullptr, &rect, 5), MVK_BAD_ARGUMENT);
  EXPECT_EQ(mvk_get_mask_roi(&image, nullptr, 5), MVK_BAD_ARGUMENT);
  EXPECT_EQ(mvk_get_mask_roi(&image, &rect, 0), MVK_BAD_ARGUMENT);
  EXPECT_EQ(mvk_get_mask_roi(&image, &rect, 255), MVK_BAD_ARGUMENT);
  for (const auto& [width, height] : {std::pair{0, 6}, {9, 0}, {-1, INT32_MAX}, {INT32_MAX, -1}}) {
    image.descriptor().width = width;
    image.descriptor().height = height;
    rect = {1, 2, 3, 4};
    EXPECT_EQ(mvk_get_mask_roi(&image, &rect, 5), MVK_NOT_FOUND);
    EXPECT_EQ(rect.left + rect.top + rect.right + rect.bottom, 0U);
  }
}

}  // namespace
