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
  const cv::Mat expected = as_written::morph(src, amount);
  const auto call = [&](const QX_OFFSCREEN* dst) {
    cv::Mat to(src.size(), CV_8UC1, dst->plane[0]);
    kel::mask::morph_runs(src, to, std::abs(amount) + 1, amount > 0);
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

// Shapes with soft edges far apart, over all borders and over those of blocks.
TEST(Morph, SmallKernelsOnFlatMasks) {
  test::Random random(3);
  for (int amount = 1; amount <= 26; ++amount) {
    TestImage mask(QX_FMT_GRAY, random.range(64, 700), random.range(1, 300));
    cv::Mat m(mask.height(), mask.width(), CV_8UC1, mask.row(0));
    m = amount % 3 == 0 ? 255 : 0;
    for (int i = 0; i < 8; ++i) {
      const cv::Point at(random.range(0, mask.width()), random.range(0, mask.height()));
      cv::circle(m, at, random.range(0, 60), cv::Scalar(255 * random.range(0, 1)), -1);
    }
    cv::blur(m, m, cv::Size(random.range(1, 4), random.range(1, 4)));
    expect_morph(mask, amount);
    expect_morph(mask, -amount);
  }
}

// Masks that turn out not to be binary at any row, or nowhere.
TEST(Morph, BinaryButForAPixel) {
  test::Random random(2);
  for (const int gray : {0, 1, 128, 254, 255}) {
    for (int y = 0; y < 40; y += 3) {
      TestImage mask = test::make_mask(Kind::Rings, 130, 40, random.next());
      mask.row(y)[random.range(0, 129)] = static_cast<uint8_t>(gray);
      expect_morph(mask, random.range(6, 30));
      expect_morph(mask, -random.range(6, 30));
    }
  }
}

// Large images are shared over threads, in bands of rows.
TEST(Morph, BandsOfLargeImages) {
  const int threads = cv::getNumThreads();
  const TestImage mask = test::make_mask(Kind::Rings, 601, 631);
  for (const int bands : {2, 3, 7}) {
    cv::setNumThreads(bands);
    for (const int amount : {7, -8, 21}) expect_morph(mask, amount);
  }
  cv::setNumThreads(threads);
}

}  // namespace
