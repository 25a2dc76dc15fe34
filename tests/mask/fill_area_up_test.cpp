// mvk_fill_area_up against the drawing call that defines it.
#include "mask/masks.h"
#include "support/judged_by_opencv.h"

namespace {

using test::TestImage;

class FillArea : public test::JudgedByOpenCv {};

// Corners near the image, and in half of the polygons some far away: in any column, and in rows
// whose distance fits the 32 bits of the judge.
TEST_F(FillArea, RandomPolygons) {
  constexpr int32_t kFarRows[] = {-70000, 70000, INT32_MAX - 70000};
  constexpr int32_t kFarColumns[] = {INT32_MIN, -70000, INT32_MAX};
  test::Random random(5);
  for (const auto& [width, height] : test::kShapes) {
    for (uint32_t draw = 0; draw < 60; ++draw) {
      std::vector<TPOINT> points(draw % 12);
      std::vector<cv::Point> same;
      for (TPOINT& p : points) {
        p = {random.range(-9, width + 9), random.range(-9, height + 9)};
        const int far = draw % 2 == 0 ? 9 : random.range(0, 9);
        if (far < 3) p.x = kFarColumns[far];
        if (far == 3) p.x = static_cast<int32_t>(random.next());
        if (far == 4) p.y = kFarRows[random.range(0, 2)];
        same.emplace_back(p.x, p.y);
      }
      points.emplace_back();  // for a count of 0
      test::expect_result(
          as_written::fill_area(width, height, same), std::to_string(same.size()) + " points",
          [&](auto* dst) { return mvk_fill_area_up(dst, draw % 12, points.data()); });
    }
  }
}

// All corners in the image, and on its last column: sides of all slopes over many words and rows.
TEST_F(FillArea, LongSidesInside) {
  test::Random random(6);
  for (int width = 1; width < 1500; width += 1 + width / 3) {
    const int height = random.range(1, 700);
    std::vector<TPOINT> points;
    std::vector<cv::Point> same;
    for (int i = random.range(2, 60); i > 0; --i) {
      const int x = i % 5 == 0 ? width - 1 : random.range(0, width - 1);
      points.push_back({x, random.range(0, height - 1)});
      same.emplace_back(points.back().x, points.back().y);
    }
    const auto count = static_cast<uint32_t>(points.size());
    test::expect_result(as_written::fill_area(width, height, same), std::to_string(width),
                        [&](auto* dst) { return mvk_fill_area_up(dst, count, points.data()); });
  }
}

}  // namespace
