// mvk_make_up_holes against its steps with OpenCV's contours.
#include "mask/masks.h"
#include "support/samples.h"

namespace {

using test::Kind;
using test::TestImage;

void expect_filled(TestImage src, uint32_t level) {
  test::expect_result(as_written::fill_holes(as_written::block(src), static_cast<int>(level)),
                      "level " + std::to_string(level),
                      [&](QX_OFFSCREEN* dst) { return mvk_make_up_holes(dst, &src, level); });
}

TEST(Holes, EveryShapeAndKind) {
  for (const Kind kind : test::kKinds) {
    for (const uint32_t level : {0U, 60U, 127U, 200U, 254U}) {
      for (const test::Shape shape : test::kShapes) {
        expect_filled(test::make_mask(kind, shape.width, shape.height, level), level);
      }
      for (uint64_t seed = 1; seed <= 9; ++seed) {
        expect_filled(test::make_mask(kind, 90, 70, seed), level);
      }
    }
  }
}

TEST(Holes, SamplesAndTwiceIsOnce) {
  for (const char* name : {"photographer_mask_256x256.png", "collins_mask_256x256.png"}) {
    TestImage src = test::sample_mask(name);
    for (const uint32_t level : {1U, 127U, 250U}) expect_filled(src.clone(), level);
    TestImage once = src.clone();
    ASSERT_EQ(mvk_make_up_holes(&once, &src, 127), MVK_OK);
    TestImage twice = once.clone();
    ASSERT_EQ(mvk_make_up_holes(&twice, &twice, 127), MVK_OK);  // in place
    EXPECT_TRUE(once == twice);
  }
}

// Above 2^23 the best area loses its half in single precision, and the hole of a thin ring, equally
// large, wins over it: then only the level of holes is filled, and other shapes keep theirs.
TEST(Holes, AreasBeyondSinglePrecision) {
  for (const int side : {2897, 2898, 4098, 4110}) {
    TestImage frame = test::make_mask(Kind::Empty, side, side);
    cv::Mat m(side, side, CV_8UC1, frame.row(0));
    const int half = side / 2;
    const std::vector<cv::Point> ring{{half, 0}, {side - 1, half}, {half, side - 1}, {0, half}};
    cv::polylines(m, ring, true, cv::Scalar(255));
    cv::circle(m, cv::Point(60, 60), 40, cv::Scalar(255), 3);
    expect_filled(std::move(frame), 127);
  }
}

}  // namespace
