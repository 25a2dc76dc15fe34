// mvk_get_mask_roi against a plain loop.
#include "mask/masks.h"

namespace {

using test::TestImage;

void expect_roi(const TestImage& image, uint32_t level) {
  cv::Rect2i edges = as_written::box(image, level);
  const bool found = edges.x != INT_MAX;
  if (!found) edges = {};
  MKRect rect{9, 9, 9, 9};
  ASSERT_EQ(mvk_get_mask_roi(image.get(), &rect, level), found ? MVK_OK : MVK_NOT_FOUND) << image;
  const auto got = cv::Rect2i(int(rect.left), int(rect.top), int(rect.right), int(rect.bottom));
  ASSERT_EQ(got, edges) << image << " level " << level;
}

// The padding stays random.
TEST(Roi, NoiseAndBoxesAtEveryLevel) {
  std::vector<test::Shape> shapes = test::kShapes;
  shapes.push_back({300, 20});
  test::Random random(3);
  for (const auto& [width, height] : shapes) {
    for (const int padding : {0, 9}) {
      TestImage image(QX_FMT_GRAY, width, height, padding);
      for (const uint32_t level : {1U, 2U, 127U, 254U, 256U, UINT32_MAX}) expect_roi(image, level);
      QX_OFFSCREEN& d = image.descriptor();
      cv::Mat pixels(height, width, CV_8UC1, d.plane[0], static_cast<size_t>(d.pitch[0]));
      for (int i = 0; i < 9; ++i) {
        const cv::Point corner(random.range(0, width - 1), random.range(0, height - 1));
        const cv::Point end(random.range(0, width), random.range(0, height));
        if (i % 3 == 0) pixels = 0;
        pixels(cv::Rect(corner, end)) = 30 * i + 1;
        for (uint32_t level = 1; level < 255; ++level) expect_roi(image, level);
      }
      (padding == 0 ? d.height : d.width) = -padding;  // no pixels
      expect_roi(image, 1);
    }
  }
}

}  // namespace
