// mvk_make_mask_smooth against its pipeline as written, and the steps of the edge refinement.
#include "mask/make_edge_add.h"
#include "mask/masks.h"
#include "support/samples.h"

namespace {

using test::Kind;
using test::TestImage;

void expect_smooth_mask(TestImage& mask, TestImage& guide, uint32_t mode, uint32_t limit) {
  const cv::Mat expected = as_written::smooth_mask(as_written::block(mask), guide, mode, limit);
  const auto call = [&](QX_OFFSCREEN* dst) {
    return mvk_make_mask_smooth(dst, &mask, &guide, mode, limit);
  };
  if (!expected.empty()) {
    return test::expect_result(expected, "limit " + std::to_string(limit), call);
  }
  TestImage dst(QX_FMT_GRAY, guide.width(), guide.height());
  const TestImage before = dst.clone();
  EXPECT_EQ(call(&dst), MVK_BAD_ARGUMENT);
  EXPECT_TRUE(dst == before);
}

TEST(MaskSmooth, Samples) {
  for (const char* name : {"collins", "collins_tilted", "hopper"}) {
    TestImage mask = test::sample_mask(name + std::string("_mask_256x256.png"));
    TestImage guide = test::sample_photo(name + std::string(".jpg"));
    for (const uint32_t limit : {100U, 128U, 300U, 511U, 512U, 599U, 600U, 4000U, UINT32_MAX}) {
      for (const uint32_t mode : {0U, 1U, 2U}) expect_smooth_mask(mask, guide, mode, limit);
    }
  }
}

TEST(MaskSmooth, SamplesAtFullHd) {
  TestImage guide(QX_FMT_RGB24, 1920, 1080);
  cv::Mat to(1080, 1920, CV_8UC3, guide.row(0));
  cv::resize(as_written::block(test::sample_photo("hopper.jpg")), to, to.size());
  for (const char* name : {"photographer_mask_256x256.png", "hopper_frame_mask_256x144.png"}) {
    TestImage mask = test::sample_mask(name);
    for (const uint32_t limit : {640U, 1024U, 1920U}) {
      for (const uint32_t mode : {0U, 1U}) expect_smooth_mask(mask, guide, mode, limit);
    }
  }
}

TEST(MaskSmooth, EveryKindAndOddSizes) {
  const std::pair<cv::Size, cv::Size> sizes[] = {{{1, 1}, {2, 2}},     {{1, 30}, {2, 31}},
                                                 {{30, 1}, {31, 2}},   {{17, 11}, {40, 90}},
                                                 {{64, 33}, {65, 34}}, {{50, 70}, {300, 71}}};
  for (const auto& [small, large] : sizes) {
    TestImage guide(QX_FMT_RGB24, large.width, large.height);
    for (const Kind kind : test::kKinds) {
      TestImage mask = test::make_mask(kind, small.width, small.height, 9);
      for (const uint32_t limit : {1U, 20U, 39U, 89U, 200U, 299U, 300U}) {
        for (const uint32_t mode : {0U, 1U}) expect_smooth_mask(mask, guide, mode, limit);
      }
    }
  }
  TestImage largest = test::make_mask(Kind::Soft, 520, 520);
  TestImage guide(QX_FMT_RGB24, 521, 521);
  for (const uint32_t limit : {259U, 260U, 520U, 521U}) {
    expect_smooth_mask(largest, guide, 1, limit);
  }
}

TEST(EdgeRefinement, AsTheSlowTranscription) {
  for (const auto& [width, height] : {std::pair{1, 1},
                                      {2, 2},
                                      {5, 1},
                                      {1, 9},
                                      {23, 9},
                                      {24, 2},
                                      {25, 3},
                                      {60, 2},
                                      {60, 47},
                                      {97, 31}}) {
    TestImage guide(QX_FMT_RGB24, width, height);  // in blocks of three columns: clear steps
    for (int i = 0; i < 3 * width * height; i += 18) {
      std::fill_n(guide.row(0) + i, std::min(9, 3 * width * height - i), uint8_t{0});
    }
    const cv::Mat colours = as_written::block(guide);
    for (const Kind kind : test::kKinds) {
      for (const uint32_t radius : {12U, 2U, 3U, 31U}) {
        const TestImage mask = test::make_mask(kind, width, height, 3);
        cv::Mat expected = as_written::block(mask) > 90;
        cv::Mat got = expected.clone();
        as_written::snap_edges(expected, static_cast<int>(radius), colours);
        const bool empty = cv::countNonZero(got) == 0;
        EXPECT_EQ(kel::mask::make_edge_add(got, radius, colours),
                  empty ? MVK_BAD_ARGUMENT : MVK_OK);
        ASSERT_EQ(cv::norm(got, expected), 0.0) << mask << " radius " << radius;
      }
    }
  }
}

TEST(EdgeRefinement, UnusableSizesLeaveTheMask) {
  for (const auto& [columns, radius] : {std::pair{5, 12U}, {6, 1U}, {6, 32U}}) {
    cv::Mat mask(4, 6, CV_8UC1, cv::Scalar(7));
    EXPECT_EQ(kel::mask::make_edge_add(mask, radius, cv::Mat(4, columns, CV_8UC3)), 7U);
    EXPECT_EQ(cv::sum(mask)[0], 7.0 * 24);
  }
}

// One step of brightness, in front of sample `step` of 25: the shift leads to it.
TEST(EdgeRefinement, FollowsTheStep) {
  const auto shift = [](int first, int end, int height) {
    std::vector<int32_t> sums{0};
    for (int i = 0; i < 25; ++i) sums.push_back(sums.back() + (i >= first && i < end ? height : 0));
    return kel::mask::haar_move_window_limit(sums.data(), 12, 6);
  };
  for (int step = 6; step <= 19; ++step) {
    EXPECT_EQ(shift(step, 25, 440), step - 6 - 7);
    EXPECT_EQ(shift(step, 25, 60), 0);  // not clear enough
  }
  EXPECT_EQ(shift(7, 18, 440), 1 - 7);  // of two equal steps the left one
}

}  // namespace
