// Soft edges against cv::drawContours, as it was in OpenCV 4.6.
#include "core/contours/antialiased_fill.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <opencv2/core/utility.hpp>
#include <opencv2/imgproc.hpp>

#include "support/test_image.h"

namespace {

// Moves points along their row, as snapping to edges does; some far, so that lines get long.
void shift_points(kel::Contours& contours, int width, test::Random& random) {
  const int reach = random.range(0, 3) == 0 ? width : random.range(0, 8);
  for (kel::Contour& contour : contours) {
    for (cv::Point& point : contour) {
      point.x = std::clamp(point.x + random.range(-reach, reach), 0, width - 1);
    }
  }
}

TEST(AntialiasedFill, AsOpenCv46) {
  if (cv::getVersionMajor() != 4 || cv::getVersionMinor() != 6) {
    GTEST_SKIP() << "OpenCV " << cv::getVersionString() << " is linked: the stored digests judge";
  }
  test::Random random(1);
  for (int round = 0; round < 3000; ++round) {
    cv::Mat shapes(random.range(1, 90), random.range(1, 130), CV_8UC1, cv::Scalar(0));
    for (int i = random.range(1, 30); i > 0; --i) {  // islands in holes in shapes
      const cv::Point corner{random.range(-9, shapes.cols), random.range(-9, shapes.rows)};
      const cv::Size size{random.range(1, 60), random.range(1, 60)};
      cv::ellipse(shapes, {cv::Point2f(corner), size, 0.0F}, 255 * random.range(0, 1), cv::FILLED);
    }
    kel::Contours contours;
    kel::Hierarchy hierarchy;
    cv::findContours(shapes, contours, hierarchy, cv::RETR_TREE, 1 + random.range(0, 1));
    if (contours.empty()) continue;
    shift_points(contours, shapes.cols, random);
    cv::Mat expected(shapes.size(), CV_8UC1, cv::Scalar(0));
    cv::Mat filled = expected.clone();
    cv::drawContours(expected, contours, -1, 255, cv::FILLED, cv::LINE_AA, hierarchy, 2);
    kel::fill_antialiased(filled, contours, hierarchy);
    ASSERT_EQ(cv::norm(filled, expected, cv::NORM_INF), 0.0) << round << ' ' << shapes.size();
  }
}

}  // namespace
