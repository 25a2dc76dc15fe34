// mvk_mask_morph and mvk_smooth against the OpenCV calls that define them.
#include <hwy/targets.h>

#include "mask/masks.h"
#include "support/samples.h"

namespace {

using test::Kind;
using test::TestImage;

void expect_morph(TestImage src, int amount) {
  test::expect_result(as_written::morph(as_written::block(src), amount), std::to_string(amount),
                      [&](QX_OFFSCREEN* dst) { return mvk_mask_morph(dst, &src, amount); });
}

void expect_smooth(TestImage src, int ksize, MKBlur type, uint32_t p1 = 0, uint32_t p2 = 0) {
  test::expect_result(as_written::blur(as_written::block(src), {}, ksize, type, p1, p2),
                      "kernel " + std::to_string(ksize), [&](QX_OFFSCREEN* dst) {
                        return mvk_smooth(&src, dst, static_cast<uint32_t>(ksize), type, 7, p1, p2);
                      });
}

TEST(Morph, EveryAmount) {
  for (int amount = -200; amount <= 200; ++amount) {
    if (amount == 0) continue;
    const auto seed = static_cast<uint64_t>(amount + 300);
    expect_morph(test::make_mask(Kind::Specks, 131, 67, seed), amount);
    expect_morph(test::make_mask(Kind::Soft, 70, 250, seed), amount);
  }
}

TEST(Morph, EveryShapeAndKind) {
  for (const test::Shape shape : test::kShapes) {
    for (const Kind kind : test::kKinds) {
      for (const int amount : {-200, -33, -8, -2, -1, 1, 2, 3, 13, 40, 200}) {
        expect_morph(test::make_mask(kind, shape.width, shape.height), amount);
      }
    }
  }
}

TEST(Morph, OpeningHoldsNothingNew) {
  TestImage src = test::sample_mask("photographer_mask_256x256.png");
  for (const int amount : {-2, -12, -60}) {  // odd kernels: the same about both ends
    TestImage eroded = src.clone();
    TestImage opened = src.clone();
    ASSERT_EQ(mvk_mask_morph(&eroded, &src, amount), MVK_OK);
    ASSERT_EQ(mvk_mask_morph(&opened, &eroded, -amount), MVK_OK);
    EXPECT_EQ(cv::countNonZero(as_written::block(opened) > as_written::block(src)), 0) << amount;
  }
}

TEST(Smooth, MedianOfEveryKernelAndKind) {
  for (int ksize = 1; ksize < 200; ksize += 2) {
    for (const Kind kind : test::kKinds) {
      const int narrow = 64 + ksize % 11;
      expect_smooth(test::make_mask(kind, narrow, ksize + 21, uint64_t(ksize)), ksize,
                    MKBlur::Median);
    }
  }
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

// On images wider than a block; the other tests run with the processor's best instructions.
TEST(Filters, EveryInstructionSet) {
  for (int64_t rest = hwy::SupportedTargets(); rest != 0; rest &= rest - 1) {
    hwy::SetSupportedTargetsForTest(rest & -rest);
    for (const Kind kind : {Kind::Noise, Kind::Specks, Kind::Soft, Kind::Checker}) {
      for (const int amount : {7, -12, 31, -64, 100, 199}) {
        expect_morph(test::make_mask(kind, 2200, 30), amount);
        expect_smooth(test::make_mask(kind, 2100, 30), std::abs(amount) | 1, MKBlur::Median);
      }
    }
  }
  hwy::SetSupportedTargetsForTest(0);
}

TEST(Filters, InPlace) {
  TestImage mask = test::sample_mask("collins_mask_256x256.png");
  const cv::Mat grown = as_written::morph(as_written::block(mask), 9);
  ASSERT_EQ(mvk_mask_morph(&mask, &mask, 9), MVK_OK);
  EXPECT_EQ(cv::norm(as_written::block(mask), grown), 0.0);
  for (const MKBlur type : {MKBlur::Mean, MKBlur::Median, MKBlur::Gaussian, MKBlur::Bilateral}) {
    TestImage image(QX_FMT_RGB24, 20, 30);
    const cv::Mat expected = as_written::blur(as_written::block(image), {}, 9, type, 20, 20);
    ASSERT_EQ(mvk_smooth(&image, &image, 9, type, 0, 20, 20), MVK_OK);
    EXPECT_EQ(cv::norm(as_written::block(image), expected), 0.0);
  }
}

}  // namespace
