// Border following in place against cv::findContours.
#include "core/contours/trace_contours.h"

#include <gtest/gtest.h>

#include <opencv2/imgproc.hpp>

#include "support/test_image.h"

namespace {

// Borders share 126 labels, and touch: only thousands of them in one image tell whether the right
// one of equal label is found. Shapes are noise of every density, in squares of one to three.
TEST(TraceContours, AsOpenCvWithThousandsOfBorders) {
  test::Random random(1);
  for (int round = 0; round < 60; ++round) {
    const int side = random.range(1, 3);
    const int density = random.range(0, 100);
    cv::Mat noise(random.range(1, 300 / side), random.range(1, 500 / side), CV_8UC1);
    for (uint8_t& pixel : cv::Mat_<uint8_t>(noise)) pixel = random.range(0, 99) < density;
    cv::Mat shapes = kel::make_framed_image(noise.size() * side);
    cv::resize(noise, shapes, shapes.size(), 0, 0, cv::INTER_NEAREST);
    const cv::Mat before = shapes.clone();
    for (const int approximation : {cv::CHAIN_APPROX_NONE, cv::CHAIN_APPROX_SIMPLE}) {
      kel::Contours expected, contours;
      kel::Hierarchy expected_tree, tree;
      cv::findContours(before, expected, expected_tree, cv::RETR_TREE, approximation);
      kel::trace_contours(shapes, approximation, contours, tree);
      ASSERT_TRUE(contours == expected && tree == expected_tree) << round << ' ' << shapes.size();
      ASSERT_EQ(cv::norm(shapes, before, cv::NORM_INF), 0.0) << "marks were left";
    }
  }
}

}  // namespace
