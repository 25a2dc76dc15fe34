// mvk_make_up_holes against its steps with OpenCV's contours.
#include <gtest/gtest.h>

#include "mask/make_up_holes.h"
#include "mask/masks.h"
#include "support/bad_arguments.h"
#include "support/samples.h"

namespace {

using test::Kind;
using test::TestImage;

void expect_filled(TestImage src, uint32_t level, int padding = 0) {
  TestImage dst(QX_FMT_GRAY, src.width(), src.height(), padding, 0, 2);
  ASSERT_EQ(mvk_make_up_holes(&dst, &src, level), MVK_OK);
  const cv::Mat expected =
      as_written::fill_holes(as_written::block(src.descriptor()), static_cast<int>(level));
  ASSERT_TRUE(test::holds(dst, expected)) << "level " << level;
}

TEST(Holes, EveryShapeAndKind) {
  for (const test::Shape shape : test::kShapes) {
    for (int kind = 0; kind < static_cast<int>(Kind::Count); ++kind) {
      for (const uint32_t level : {0U, 60U, 127U, 200U, 254U}) {
        expect_filled(test::make_mask(static_cast<Kind>(kind), shape.width, shape.height, level),
                      level, 3);
      }
    }
  }
}

TEST(Holes, RandomMasks) {
  for (uint64_t seed = 1; seed <= 300; ++seed) {
    const auto kind = static_cast<Kind>(seed % static_cast<uint64_t>(Kind::Count));
    expect_filled(test::make_mask(kind, 90, 70, seed), static_cast<uint32_t>(seed * 37 % 255));
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

// From 2^23 half pixels on the best area is rounded to single precision, and a hole as large as its
// surrounding can win over it: then the holes' level is filled.
TEST(Holes, AreasBeyondSinglePrecision) {
  for (const int side : {2897, 2898, 2900, 4098, 4099}) {
    for (const int trim : {0, 1, 2}) {
      TestImage frame = test::make_mask(Kind::Empty, side, side);
      cv::Mat m(side, side, CV_8UC1, frame.row(0));
      std::vector<cv::Point> diamond{
          {side / 2, trim}, {side - 1, side / 2}, {side / 2, side - 1}, {0, side / 2}};
      if (trim > 0)
        cv::rectangle(m, cv::Point(0, 0), cv::Point(side - 1, side - trim), cv::Scalar(255), 1);
      if (trim == 0) cv::polylines(m, diamond, true, cv::Scalar(255));
      cv::circle(m, cv::Point(side / 2, side / 2), 40, cv::Scalar(255), 3);
      expect_filled(std::move(frame), 127);
    }
  }
}

TEST(Holes, Refusals) {
  TestImage src(QX_FMT_GRAY, 9, 6, 4);
  TestImage dst(QX_FMT_GRAY, 9, 6, 4, 0, 2);
  uint32_t level = 100;
  const auto call = [&] { return mvk_make_up_holes(&dst, &src, level); };
  std::vector<test::BrokenField> fields = test::kBrokenFields;
  fields.push_back({"width", [](QX_OFFSCREEN& image) { --image.width; }});
  fields.push_back({"height", [](QX_OFFSCREEN& image) { --image.height; }});
  test::expect_refused(src, dst, fields, call);
  test::expect_refused(dst, dst, fields, call);
  EXPECT_EQ(mvk_make_up_holes(nullptr, &src, 1), MVK_BAD_ARGUMENT);
  EXPECT_EQ(mvk_make_up_holes(&dst, nullptr, 1), MVK_BAD_ARGUMENT);
  for (const uint32_t bad : {255U, 256U, UINT32_MAX}) {
    level = bad;
    EXPECT_EQ(call(), MVK_BAD_ARGUMENT);
    EXPECT_EQ(kel::mask::make_up_holes(src.descriptor(), dst.descriptor(), bad), MVK_BAD_ARGUMENT);
  }
}

}  // namespace
