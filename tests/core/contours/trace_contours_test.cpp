// Borders followed from run to run against cv::findContours.
#include "core/contours/trace_contours.h"

#include <gtest/gtest.h>

#include <opencv2/imgproc.hpp>

#include "support/test_image.h"

namespace {

// Noise of every density, in squares of one to three pixels, has borders of every kind that touch
// in every way.
TEST(TraceContours, AsOpenCvOnNoise) {
  test::Random random(1);
  for (int round = 0; round < 300; ++round) {
    const int side = random.range(1, 3);
    const int density = random.range(0, 100);
    const int reach = round % 5 == 0 ? 500 : 40;
    cv::Mat noise(random.range(1, reach / side), random.range(1, reach / side), CV_8UC1);
    for (uint8_t& pixel : cv::Mat_<uint8_t>(noise)) pixel = random.range(0, 99) < density;
    cv::Mat image;
    cv::resize(noise, image, noise.size() * side, 0, 0, cv::INTER_NEAREST);
    const kel::BitMask mask({image.data, image.cols, image.rows, image.cols}, 0);
    for (const int approximation : {cv::CHAIN_APPROX_NONE, cv::CHAIN_APPROX_SIMPLE}) {
      kel::Contours expected, contours;
      kel::Hierarchy expected_tree, tree;
      cv::findContours(image, expected, expected_tree, cv::RETR_TREE, approximation);
      kel::trace_contours(mask, approximation, contours, tree);
      ASSERT_TRUE(contours == expected && tree == expected_tree)
          << round << ' ' << image.size() << " density " << density;
    }
  }
}

}  // namespace
