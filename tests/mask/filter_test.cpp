// mvk_mask_morph and mvk_smooth against the OpenCV calls that define them.
#include <gtest/gtest.h>
#include <hwy/targets.h>

#include "mask/masks.h"
#include "mask/mk_blur.h"
#include "mask/morph_trans.h"
#include "support/bad_arguments.h"
#include "support/samples.h"

namespace {

using test::Kind;
using test::TestImage;

void expect_morph(TestImage src, int amount, int padding = 0) {
  TestImage dst(QX_FMT_GRAY, src.width(), src.height(), padding, 0, 2);
  ASSERT_EQ(mvk_mask_morph(&dst, &src, amount), MVK_OK);
  ASSERT_TRUE(test::holds(dst, as_written::morph(as_written::block(src.descriptor()), amount)))
      << "amount " << amount;
}

TEST(Morph, EveryAmount) {
  for (int amount = -200; amount <= 200; ++amount) {
    if (amount == 0) continue;
    expect_morph(test::make_mask(Kind::Specks, 131, 67, static_cast<uint64_t>(amount + 300)),
                 amount);
    expect_morph(test::make_mask(Kind::Soft, 70, 250, static_cast<uint64_t>(amount + 300)), amount);
  }
}

TEST(Morph, EveryShapeAndKind) {
  for (const test::Shape shape : test::kShapes) {
    for (int kind = 0; kind < static_cast<int>(Kind::Count); ++kind) {
      for (const int amount : {-200, -33, -8, -2, -1, 1, 2, 3, 13, 40, 200}) {
        expect_morph(test::make_mask(static_cast<Kind>(kind), shape.width, shape.height), amount,
                     5);
      }
    }
  }
}

TEST(Morph, WiderThanAStrip) {
  for (const int amount : {8, -31, 64, -100, 199}) {
    expect_morph(test::make_mask(Kind::Soft, 2200, 90), amount);
    expect_morph(test::make_mask(Kind::Specks, 2200, 90), amount);
  }
}

TEST(Morph, OpeningHoldsNothingNew) {
  TestImage src = test::sample_mask("photographer_mask_256x256.png");
  for (const int amount : {-2, -12, -60}) {  // odd kernels: the same about both ends
    TestImage eroded = src.clone();
    TestImage opened = src.clone();
    ASSERT_EQ(mvk_mask_morph(&eroded, &src, amount), MVK_OK);
    ASSERT_EQ(mvk_mask_morph(&opened, &eroded, -amount), MVK_OK);
    const cv::Mat more =
        as_written::block(opened.descriptor()) > as_written::block(src.descriptor());
    EXPECT_EQ(cv::countNonZero(more), 0) << amount;
  }
}

TEST(Morph, OverlapAndRefusals) {
  TestImage image = test::sample_mask("collins_mask_256x256.png");
  const cv::Mat expected = as_written::morph(as_written::block(image.descriptor()), 9);
  ASSERT_EQ(mvk_mask_morph(&image, &image, 9), MVK_OK);
  EXPECT_TRUE(test::holds(image, expected));

  TestImage src(QX_FMT_GRAY, 9, 6, 4);
  TestImage dst(QX_FMT_GRAY, 9, 6, 4, 0, 2);
  const auto call = [&] { return mvk_mask_morph(&dst, &src, 3); };
  test::expect_refused(src, dst, test::kBrokenFields, call);
  test::expect_refused(dst, dst, test::kBrokenFields, call);
  const std::vector<test::BrokenField> sizes{
      {"width", [](QX_OFFSCREEN& broken) { --broken.width; }},
      {"height", [](QX_OFFSCREEN& broken) { --broken.height; }}};
  test::expect_refused(src, dst, sizes, call);
  for (const int amount : {-201, 201, INT32_MIN, INT32_MAX}) {
    EXPECT_EQ(mvk_mask_morph(&dst, &src, amount), MVK_BAD_ARGUMENT);
  }
  EXPECT_EQ(mvk_mask_morph(nullptr, &src, 1), MVK_BAD_ARGUMENT);
  EXPECT_EQ(mvk_mask_morph(&dst, nullptr, 1), MVK_BAD_ARGUMENT);
  EXPECT_EQ(mvk_mask_morph(&dst, &src, 0), MVK_BAD_ARGUMENT);
  EXPECT_TRUE(test::holds(dst, cv::Mat::zeros(6, 9, CV_8UC1)));
  cv::Mat wide(4, 4, CV_16UC1);
  cv::Mat narrow(4, 4, CV_8UC1);
  EXPECT_EQ(kel::mask::morph_trans(wide, narrow, 1), MVK_BAD_ARGUMENT);
  EXPECT_EQ(kel::mask::morph_trans(narrow, wide, 1), MVK_BAD_ARGUMENT);
}

cv::Mat blur_as_written(const cv::Mat& in, int ksize, MKBlur type, uint32_t p1, uint32_t p2) {
  cv::Mat out;
  switch (type) {
    case MKBlur::Mean:
      cv::blur(in, out, cv::Size(ksize, ksize), cv::Point(-1, -1), 4);
      break;
    case MKBlur::Median:
      cv::medianBlur(in, out, ksize);
      break;
    case MKBlur::Gaussian:
      cv::GaussianBlur(in, out, cv::Size(ksize, ksize), double(p1), double(p2), 4);
      break;
    case MKBlur::Bilateral:
      cv::bilateralFilter(in, out, ksize, double(p1), double(p2), 4);
      break;
  }
  return out;
}

void expect_smooth(TestImage src, int ksize, MKBlur type, uint32_t p1 = 0, uint32_t p2 = 0) {
  TestImage dst(src.descriptor().format, src.width(), src.height(), 3, 0, 2);
  ASSERT_EQ(mvk_smooth(&src, &dst, static_cast<uint32_t>(ksize), type, 77, p1, p2), MVK_OK);
  ASSERT_TRUE(
      test::holds(dst, blur_as_written(as_written::block(src.descriptor()), ksize, type, p1, p2)))
      << "kernel " << ksize << " type " << static_cast<int>(type);
}

TEST(Smooth, MedianOfEveryKernelAndKind) {
  for (int ksize = 1; ksize < 200; ksize += 2) {
    for (int kind = 0; kind < static_cast<int>(Kind::Count); ++kind) {
      const int narrow = 64 + ksize % 11;  // tall enough for the counting road
      expect_smooth(
          test::make_mask(static_cast<Kind>(kind), narrow, 2 * ksize + 21, uint64_t(ksize)), ksize,
          MKBlur::Median);
    }
  }
}

TEST(Smooth, MedianWiderThanABlock) {
  for (const int ksize : {7, 15, 25, 199}) {
    for (const Kind kind : {Kind::Soft, Kind::Noise, Kind::Gradient, Kind::Checker}) {
      expect_smooth(test::make_mask(kind, 2100, 60), ksize, MKBlur::Median);
    }
  }
}

// The processor's best instructions are what runs elsewhere in these tests.
TEST(Filters, EveryInstructionSet) {
  for (int64_t rest = hwy::SupportedTargets(); rest != 0; rest &= rest - 1) {
    hwy::SetSupportedTargetsForTest(rest & -rest);
    for (const Kind kind : {Kind::Noise, Kind::Specks, Kind::Soft, Kind::Lines}) {
      for (const int side : {7, 12, 31, 64, 101}) {
        expect_morph(test::make_mask(kind, 301, 77), side);
        expect_morph(test::make_mask(kind, 301, 77), -side);
        expect_smooth(test::make_mask(kind, 301, 77), side | 1, MKBlur::Median);
      }
    }
  }
  hwy::SetSupportedTargetsForTest(0);
}

TEST(Smooth, EveryTypeAndShape) {
  for (const test::Shape shape : test::kShapes) {
    for (const int ksize : {1, 3, 5, 7, 15, 25, 41, 199}) {
      for (const uint32_t format : {QX_FMT_GRAY, QX_FMT_RGB24}) {
        const auto src = [&] { return TestImage(format, shape.width, shape.height, 0, 0, 7); };
        expect_smooth(src(), ksize, MKBlur::Mean);
        expect_smooth(src(), ksize, MKBlur::Median);
        for (const uint32_t sigma : {0U, 3U, 200U, UINT32_MAX}) {
          expect_smooth(src(), ksize, MKBlur::Gaussian, sigma, 5);
          expect_smooth(src(), ksize, MKBlur::Gaussian, 4, sigma);
          if (ksize <= 7) expect_smooth(src(), ksize, MKBlur::Bilateral, sigma, sigma / 2);
        }
      }
    }
  }
  expect_smooth(TestImage(QX_FMT_RGB24, 3, 2), 199, MKBlur::Bilateral, UINT32_MAX, UINT32_MAX);
}

TEST(Smooth, OverlapAndRefusals) {
  for (const MKBlur type : {MKBlur::Mean, MKBlur::Median, MKBlur::Gaussian, MKBlur::Bilateral}) {
    TestImage image(QX_FMT_RGB24, 20, 30);
    const cv::Mat expected =
        blur_as_written(as_written::block(image.descriptor()), 9, type, 20, 20);
    ASSERT_EQ(mvk_smooth(&image, &image, 9, type, 0, 20, 20), MVK_OK);
    EXPECT_TRUE(test::holds(image, expected));
  }
  TestImage src(QX_FMT_GRAY, 9, 6, 20);
  TestImage dst(QX_FMT_GRAY, 9, 6, 20, 0, 2);
  uint32_t ksize = 3;
  MKBlur type = MKBlur::Mean;
  const auto call = [&] { return mvk_smooth(&src, &dst, ksize, type, 0, 0, 0); };
  std::vector<test::BrokenField> fields = test::kBrokenFields;
  fields.push_back({"width", [](QX_OFFSCREEN& broken) { --broken.width; }});
  fields.push_back({"height", [](QX_OFFSCREEN& broken) { --broken.height; }});
  for (const auto& change : {+[](QX_OFFSCREEN& image) { image.format = QX_FMT_RGB24; },
                             +[](QX_OFFSCREEN& image) { image.format = QX_FMT_ARGB; },
                             +[](QX_OFFSCREEN& image) { image.format = QX_FMT_NV12; }}) {
    fields.push_back({"format", change});
  }
  test::expect_refused(src, dst, fields, call);
  test::expect_refused(dst, dst, fields, call);
  for (const uint32_t bad : {0U, 2U, 200U, 201U, UINT32_MAX}) {
    ksize = bad;
    EXPECT_EQ(call(), MVK_BAD_ARGUMENT) << bad;
    EXPECT_EQ(kel::mask::mk_blur(src.descriptor(), dst.descriptor(), bad, type, 0, 0),
              MVK_BAD_ARGUMENT);
  }
  ksize = 3;
  type = static_cast<MKBlur>(4);
  EXPECT_EQ(call(), MVK_BAD_ARGUMENT);
  EXPECT_EQ(mvk_smooth(nullptr, &dst, 3, MKBlur::Mean, 0, 0, 0), MVK_BAD_ARGUMENT);
  EXPECT_EQ(mvk_smooth(&src, nullptr, 3, MKBlur::Mean, 0, 0, 0), MVK_BAD_ARGUMENT);
}

}  // namespace
