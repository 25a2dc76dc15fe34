// mvk_mask_morph against the OpenCV calls that define it.
#include "mask/morph_runs.h"

#include "mask/masks.h"

namespace {

using test::Kind;
using test::TestImage;

void expect_morph(const TestImage& src, int amount) {
  test::expect_filtered(src, as_written::morph(as_written::block(src), amount), amount,
                        [&](auto* dst, auto* from) { return mvk_mask_morph(dst, from, amount); });
}

TEST(Morph, EveryAmountAndKind) {
  test::Random random(1);
  for (int amount = -200; amount <= 200; ++amount) {
    for (const Kind kind : test::kKinds) {
      if (amount != 0) expect_morph(test::random_mask(kind, random), amount);
    }
  }
}

// Small kernels go by runs on images that are too wide for OpenCV; here on small ones.
void expect_runs(const cv::Mat& src, int amount) {
  const int side = std::abs(amount) + 1;
  const cv::Mat kernel = cv::getStructuringElement(cv::MORPH_ELLIPSE, cv::Size(side, side));
  const cv::Mat expected = as_written::morph(src, amount);
  const auto call = [&](const QX_OFFSCREEN* dst) {
    cv::Mat to(src.size(), CV_8UC1, dst->plane[0]);
    kel::mask::morph_runs(src, to, kernel, amount > 0);
    return MVK_OK;
  };
  const std::string what = "amount " + std::to_string(amount);
  test::on_every_target([&] { test::expect_result(expected, what, call); });
}

TEST(Morph, RunsOfSmallKernels) {
  for (const auto& [width, height] : test::kShapes) {
    for (const Kind kind : test::kKinds) {
      const cv::Mat src = as_written::block(test::make_mask(kind, width, height, 8));
      for (int amount = 1; amount <= 6; ++amount) {
        expect_runs(src, amount);
        expect_runs(src, -amount);
      }
    }
  }
}

}  // namespace
