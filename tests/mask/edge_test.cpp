// The steps of the edge refinement.
#include <gtest/gtest.h>

#include "mask/make_edge_add.h"
#include "mask/masks.h"

namespace {

using test::Kind;
using test::TestImage;

TEST(EdgeRefinement, AsTheSlowTranscription) {
  for (const test::Shape shape :
       {test::Shape{1, 1}, {2, 2}, {5, 1}, {1, 9}, {23, 9}, {24, 2}, {25, 3}, {60, 47}, {97, 31}}) {
    for (int kind = 0; kind < static_cast<int>(Kind::Count); ++kind) {
      for (const uint32_t radius : {12U, 2U, 3U}) {
        TestImage mask = test::make_mask(static_cast<Kind>(kind), shape.width, shape.height, 3);
        // Blocks of three columns make steps that stand out.
        TestImage guide(QX_FMT_RGB24, shape.width, shape.height);
        for (int y = 0; y < shape.height; ++y) {
          for (int x = 0; x < 3 * shape.width; ++x)
            guide.row(y)[x] = x / 9 % 2 == 0 ? guide.row(y)[x] / 8 : 255;
        }
        cv::Mat expected = as_written::block(mask.descriptor()) > 90;
        cv::Mat got = expected.clone();
        const cv::Mat colours = as_written::block(guide.descriptor());
        as_written::snap_edges(expected, static_cast<int>(radius), colours);
        const bool empty = cv::countNonZero(got) == 0;
        EXPECT_EQ(kel::mask::make_edge_add(got, radius, colours),
                  empty ? MVK_BAD_ARGUMENT : MVK_OK);
        ASSERT_EQ(cv::norm(got, expected, cv::NORM_INF), 0.0)
            << mask << " kind " << kind << " radius " << radius;
      }
    }
  }
}

TEST(EdgeRefinement, OtherSizesAreLeftAlone) {
  cv::Mat mask(4, 6, CV_8UC1, cv::Scalar(7));
  for (const cv::Size size : {cv::Size(5, 4), cv::Size(6, 5)}) {
    EXPECT_EQ(kel::mask::make_edge_add(mask, 12, cv::Mat(size, CV_8UC3)), kel::mask::kUnusableSize);
    EXPECT_EQ(cv::sum(mask)[0], 7.0 * 24);
  }
}

TEST(EdgeRefinement, PointsNearTheBorderMoveOntoIt) {
  struct Case {
    cv::Size size;
    cv::Point from, to;
  };
  for (const Case& c : {Case{{20, 10}, {1, 5}, {0, 5}},
                        {{20, 10}, {2, 5}, {2, 5}},
                        {{20, 10}, {17, 5}, {17, 5}},
                        {{20, 10}, {18, 5}, {19, 5}},
                        {{20, 10}, {18, 1}, {19, 0}},
                        {{20, 10}, {5, 7}, {5, 7}},
                        {{20, 10}, {5, 8}, {5, 9}},
                        {{20, 3}, {5, 1}, {5, 0}},
                        {{20, 2}, {5, 0}, {5, 1}},
                        {{20, 1}, {5, 0}, {5, 0}},
                        {{2, 9}, {0, 4}, {1, 4}},
                        {{20, 3}, {5, 2}, {5, 2}}}) {
    kel::mask::Contours contours{{c.from}};
    kel::mask::fix_contours_point(contours, cv::Mat(c.size, CV_8UC1));
    EXPECT_EQ(contours[0][0], c.to) << c.from << " in " << c.size;
  }
}

// One step of brightness, before sample `step` of 25: the shift leads to it.
TEST(EdgeRefinement, FollowsTheStep) {
  for (int step = 0; step <= 25; ++step) {
    for (const int height : {0, 60, 140, 440}) {
      std::vector<int32_t> sums{0};
      for (int i = 0; i < 25; ++i) sums.push_back(sums.back() + (i < step ? 0 : height));
      const int shift = kel::mask::haar_move_window_limit(sums.data(), 12, 6);
      EXPECT_EQ(shift, as_written::haar_shift(sums, 12, 6)) << step << ' ' << height;
      if (height == 0) {
        EXPECT_EQ(shift, 0);
      }
      if (height == 440 && step >= 6 && step <= 19) {
        EXPECT_EQ(shift, step - 6 - 7);
      }
    }
  }
  std::vector<int32_t> two{0};  // two equal steps: the left one wins
  for (int i = 0; i < 25; ++i) two.push_back(two.back() + (i >= 7 && i < 18 ? 440 : 0));
  EXPECT_EQ(kel::mask::haar_move_window_limit(two.data(), 12, 6), 1 - 7);
}

}  // namespace
