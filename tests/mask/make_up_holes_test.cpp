// mvk_make_up_holes against the OpenCV calls that define it.
#include "mask/masks.h"
#include "support/samples.h"

namespace {

using test::Kind;
using test::TestImage;

void expect_filled(const TestImage& src, int level) {
  const cv::Mat expected = as_written::fill_holes(as_written::block(src), level);
  test::expect_filtered(src, expected, level, [&](auto* dst, auto* from) {
    return mvk_make_up_holes(dst, from, static_cast<uint32_t>(level));
  });
}

TEST(Holes, EveryKindAndShapeAndSamples) {
  std::vector<test::Shape> shapes = test::kShapes;
  shapes.insert(shapes.end(), 9, {90, 70});
  for (const int level : {0, 1, 60, 127, 200, 254}) {
    for (const Kind kind : test::kKinds) {
      uint64_t seed = 1;
      for (const auto& [width, height] : shapes) {
        expect_filled(test::make_mask(kind, width, height, ++seed), level);
      }
    }
    expect_filled(test::sample_mask("photographer_mask_256x256.png"), level);
    expect_filled(test::sample_mask("collins_mask_256x256.png"), level);
  }
}

// Above 2^23 the largest area loses its fraction in single precision, and the hole of a thin ring,
// equally large, replaces it: then only the level of holes is filled, and other shapes keep theirs.
TEST(Holes, AreasBeyondSinglePrecision) {
  for (const int side : {2897, 2898, 4098, 4110}) {
    const TestImage frame = test::make_mask(Kind::Empty, side, side);
    cv::Mat m(side, side, CV_8UC1, frame.descriptor().plane[0]);
    const int half = side / 2;
    const std::vector<cv::Point> ring{{half, 0}, {side - 1, half}, {half, side - 1}, {0, half}};
    cv::polylines(m, ring, true, cv::Scalar(255));
    cv::circle(m, cv::Point(60, 60), 40, cv::Scalar(255), 3);
    expect_filled(frame, 127);
  }
}

}  // namespace
