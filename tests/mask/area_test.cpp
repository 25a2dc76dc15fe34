// mvk_fill_area_up against the drawing call, mvk_get_mask_roi against a plain loop.
#include "mask/masks.h"

namespace {

using test::Kind;
using test::TestImage;

void expect_area(int width, int height, const std::vector<TPOINT>& points) {
  std::vector<cv::Point> same;
  for (const TPOINT& point : points) same.emplace_back(point.x, point.y);
  const TPOINT none{};
  test::expect_result(as_written::fill_area(width, height, same),
                      std::to_string(points.size()) + " points", [&](QX_OFFSCREEN* dst) {
                        return mvk_fill_area_up(dst, static_cast<uint32_t>(points.size()),
                                                points.empty() ? &none : points.data());
                      });
}

TEST(FillArea, RandomPolygons) {
  test::Random random(5);
  for (const auto& [width, height] : test::kShapes) {
    for (size_t count = 0; count < 12; ++count) {
      std::vector<TPOINT> points(count);
      for (TPOINT& p : points) p = {random.range(-9, width + 9), random.range(-9, height + 9)};
      expect_area(width, height, points);
      for (TPOINT& p : points) p.x = static_cast<int32_t>(random.next());
      expect_area(width, height, points);
    }
  }
}

TEST(FillArea, CornersOfTheCoordinateRange) {
  expect_area(20, 10, {{INT32_MIN, 3}, {INT32_MAX, 4}, {INT32_MAX, 8}});
  expect_area(20, 10, {{3, INT32_MAX}, {9, INT32_MAX - 5}, {INT32_MIN, INT32_MAX}});
  expect_area(20, 10, {{INT32_MAX, INT32_MAX}});
  expect_area(20, 10, {{4, -70000}, {12, 70000}, {INT32_MAX, 0}});
}

void expect_roi(TestImage& image, uint32_t level) {
  cv::Rect2i edges = as_written::box(image, level);
  const bool found = edges.x != INT_MAX;
  if (!found) edges = {};
  MKRect rect{9, 9, 9, 9};
  ASSERT_EQ(mvk_get_mask_roi(&image, &rect, level), found ? MVK_OK : MVK_NOT_FOUND) << image;
  const auto got = cv::Rect2i(int(rect.left), int(rect.top), int(rect.right), int(rect.bottom));
  ASSERT_EQ(got, edges) << image << " level " << level;
}

TEST(Roi, EveryLevelShapeAndPitch) {
  test::Random random(3);
  for (const auto& [width, height] : test::kShapes) {
    for (const int padding : {0, 9}) {
      TestImage image(QX_FMT_GRAY, width, height, padding);
      for (const uint32_t level : {1U, 2U, 127U, 254U, 256U, UINT32_MAX}) expect_roi(image, level);
      for (int y = 0; y < height; ++y) std::fill_n(image.row(y), width, uint8_t{0});
      expect_roi(image, 1);
      for (int i = 0; i < 6; ++i) {  // the padding is still random
        uint8_t* row = image.row(random.range(0, height - 1));
        row[random.range(0, width - 1)] = static_cast<uint8_t>(40 * i + 1);
        for (uint32_t level = 1; level < 255; ++level) expect_roi(image, level);
      }
    }
  }
}

TEST(Roi, Boxes) {
  test::Random random(4);
  for (int i = 0; i < 60; ++i) {
    TestImage image = test::make_mask(Kind::Empty, 300, 200);
    const cv::Rect box(random.range(0, 200), random.range(0, 99), random.range(1, 100), 100);
    cv::Mat(200, 300, CV_8UC1, image.row(0))(box) = 200;
    expect_roi(image, 200);
    expect_roi(image, 201);
  }
}

TEST(Roi, ImagesWithoutPixels) {
  TestImage image(QX_FMT_GRAY, 9, 6);
  for (const auto& [width, height] : {std::pair{0, 6}, {9, 0}, {-1, INT_MAX}, {INT_MAX, -1}}) {
    image.descriptor().width = width;
    image.descriptor().height = height;
    expect_roi(image, 5);
  }
}

}  // namespace
