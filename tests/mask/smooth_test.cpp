// mvk_make_mask_smooth against its pipeline as written.
#include <gtest/gtest.h>

#include "mask/mask_smooth.h"
#include "mask/masks.h"
#include "support/bad_arguments.h"
#include "support/samples.h"

namespace {

using test::Kind;
using test::TestImage;

void expect_smooth_mask(TestImage& mask, TestImage& guide, uint32_t mode, uint32_t limit,
                        int padding = 0) {
  TestImage dst(QX_FMT_GRAY, guide.width(), guide.height(), padding, 0, 2);
  TestImage before = dst.clone();
  const cv::Mat expected = as_written::smooth_mask(as_written::block(mask.descriptor()),
                                                   guide.descriptor(), mode, limit);
  ASSERT_EQ(mvk_make_mask_smooth(&dst, &mask, &guide, mode, limit),
            expected.empty() ? MVK_BAD_ARGUMENT : MVK_OK);
  if (!expected.empty()) as_written::write_back(before.descriptor(), expected);
  ASSERT_TRUE(test::holds(dst, as_written::block(before.descriptor())))
      << "limit " << limit << " mode " << mode;
  ASSERT_TRUE(dst == before);
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
  const TestImage photo = test::sample_photo("hopper.jpg");
  TestImage guide(QX_FMT_RGB24, 1920, 1080);
  cv::Mat to(1080, 1920, CV_8UC3, guide.row(0));
  cv::resize(as_written::block(photo.descriptor()), to, to.size());
  for (const char* name : {"photographer_mask_256x256.png", "hopper_frame_mask_256x144.png"}) {
    TestImage mask = test::sample_mask(name);
    for (const uint32_t limit : {640U, 1024U, 1920U}) {
      for (const uint32_t mode : {0U, 1U}) expect_smooth_mask(mask, guide, mode, limit);
    }
  }
}

TEST(MaskSmooth, EveryKindAndOddSizes) {
  struct Case {
    int width, height, guide_width, guide_height;
  };
  for (const Case& c : {Case{1, 1, 2, 2},
                        {1, 30, 2, 31},
                        {30, 1, 31, 2},
                        {17, 11, 40, 90},
                        {64, 33, 65, 34},
                        {50, 70, 300, 71}}) {
    for (int kind = 0; kind < static_cast<int>(Kind::Count); ++kind) {
      TestImage mask = test::make_mask(static_cast<Kind>(kind), c.width, c.height, 9);
      TestImage guide(QX_FMT_RGB24, c.guide_width, c.guide_height);
      for (const uint32_t limit : {1U, 20U, 39U, 89U, 200U, 299U, 300U}) {
        for (const uint32_t mode : {0U, 1U}) expect_smooth_mask(mask, guide, mode, limit, kind % 2);
      }
    }
  }
  TestImage largest = test::make_mask(Kind::Soft, 520, 520);
  TestImage guide(QX_FMT_RGB24, 521, 521);
  for (const uint32_t limit : {259U, 260U, 520U, 521U})
    expect_smooth_mask(largest, guide, 1, limit);
}

TEST(MaskSmooth, Refusals) {
  TestImage mask(QX_FMT_GRAY, 8, 6, 4);
  TestImage guide(QX_FMT_RGB24, 9, 7);
  TestImage dst(QX_FMT_GRAY, 9, 7, 4, 0, 2);
  const auto call = [&] { return mvk_make_mask_smooth(&dst, &mask, &guide, 0, 8); };
  std::vector<test::BrokenField> fields = test::kBrokenFields;
  fields.push_back({"too wide", [](QX_OFFSCREEN& image) { image.width = image.pitch[0] = 521; }});
  fields.push_back({"too high", [](QX_OFFSCREEN& image) { image.height = 521; }});
  test::expect_refused(mask, dst, fields, call);
  std::vector<test::BrokenField> guide_fields = test::kBrokenFields;
  guide_fields.push_back({"as narrow as the mask", [](QX_OFFSCREEN& image) { image.width = 8; }});
  guide_fields.push_back({"as low as the mask", [](QX_OFFSCREEN& image) { image.height = 6; }});
  guide_fields[5] = {"pitch below width", [](QX_OFFSCREEN& image) { image.pitch[0] = 8; }};
  test::expect_refused(guide, dst, guide_fields, call);
  test::expect_refused(dst, dst, guide_fields, call);
  guide.descriptor().pitch[0] = 9;  // width in pixels: enough
  EXPECT_EQ(call(), MVK_OK);
  for (const uint32_t ksize : {0U, 2U, 201U}) {
    EXPECT_EQ(kel::mask::mask_smooth(mask.descriptor(), dst.descriptor(), guide.descriptor(), 0, 8,
                                     ksize),
              7U);
  }
  EXPECT_EQ(mvk_make_mask_smooth(nullptr, &mask, &guide, 0, 8), MVK_BAD_ARGUMENT);
  EXPECT_EQ(mvk_make_mask_smooth(&dst, nullptr, &guide, 0, 8), MVK_BAD_ARGUMENT);
  EXPECT_EQ(mvk_make_mask_smooth(&dst, &mask, nullptr, 0, 8), MVK_BAD_ARGUMENT);
}

}  // namespace
