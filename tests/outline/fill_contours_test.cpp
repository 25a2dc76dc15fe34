// Filling contour by contour against cv::drawContours, inside and far outside the image.
#include "outline/fill_contours.h"

#include <gtest/gtest.h>

#include <climits>
#include <opencv2/imgproc.hpp>

#include "support/test_image.h"

namespace {

TEST(FillContours, AsDrawContoursOneByOne) {
  test::Random random(3);
  for (int round = 0; round < 4000; ++round) {
    const int width = random.range(1, 90);
    const int height = random.range(1, 70);
    const int reach = std::array{
        0, 3, 60, 500, 20000, 1000000}[static_cast<size_t>(round % 400 == 0 ? 5 : round % 5)];
    outline::Contours contours(static_cast<size_t>(random.range(1, 4)));
    for (outline::Contour& contour : contours) {
      contour.resize(static_cast<size_t>(random.range(1, 9)));
      for (cv::Point& p : contour) {
        p = {random.range(-reach, width - 1 + reach), random.range(-reach, height - 1 + reach)};
      }
    }
    cv::Mat expected = cv::Mat::zeros(height, width, CV_8UC1);
    cv::Mat filled = expected.clone();
    for (int j = 0; j < static_cast<int>(contours.size()); ++j) {
      cv::drawContours(expected, contours, j, cv::Scalar(100), -1, 0);
    }
    outline::fill_contours(filled, contours, 100);
    ASSERT_EQ(cv::countNonZero(filled != expected), 0)
        << "round " << round << ": " << cv::Mat(contours[0]);
  }
}

// Too far for OpenCV's 32-bit row counts; the triangle covers the image, its mirror image half.
TEST(FillContours, TheWholeRangeOfIntegers) {
  cv::Mat image = cv::Mat::zeros(50, 80, CV_8UC1);
  outline::fill_contours(image, {{{INT_MIN, INT_MIN}, {INT_MAX, INT_MIN}, {0, INT_MAX}}}, 9);
  EXPECT_EQ(cv::countNonZero(image == 9), 50 * 80);
  image = 0;
  outline::fill_contours(
      image, {{{40, INT_MIN}, {INT_MAX, INT_MIN}, {INT_MAX, INT_MAX}, {40, INT_MAX}}}, 9);
  EXPECT_EQ(cv::countNonZero(image == 9), 50 * 40);
  EXPECT_EQ(cv::countNonZero(image.colRange(40, 80) == 9), 50 * 40);
}

}  // namespace
