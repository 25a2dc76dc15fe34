// Filled and stroked contours against cv::drawContours.
#include <gtest/gtest.h>

#include <climits>
#include <opencv2/imgproc.hpp>

#include "core/contours/fill_contours.h"
#include "core/contours/stroke_contours.h"
#include "support/judged_by_opencv.h"
#include "support/test_image.h"

namespace {

using kel::BitMask;
using kel::Contours;

// A walk in steps of up to `stride` pixels inside of the mask, or anywhere in it for 0.
kel::Contour random_contour(test::Random& random, cv::Size size, int stride) {
  kel::Contour contour(static_cast<size_t>(random.range(1, stride == 0 ? 12 : 30)));
  cv::Point at(random.range(0, size.width - 1), random.range(0, size.height - 1));
  for (cv::Point& point : contour) {
    point = at;
    at += {random.range(-stride, stride), random.range(-stride, stride)};
    if (stride == 0) at = {random.range(0, size.width - 1), random.range(0, size.height - 1)};
    at = {std::clamp(at.x, 0, size.width - 1), std::clamp(at.y, 0, size.height - 1)};
  }
  return contour;
}

// `expect(size, contours, round)` on masks of many sizes.
template <typename Expect>
void with_random_contours(int rounds, Expect expect) {
  test::Random random(3);
  for (int round = 0; round < rounds && !testing::Test::HasFailure(); ++round) {
    const int reach = round % 50 == 0 ? 700 : 90;
    const cv::Size size(random.range(1, reach), random.range(1, reach));
    Contours contours;
    for (int i = random.range(1, 3); i > 0; --i) {
      constexpr int kStrides[] = {0, 1, 4, 15};
      contours.push_back(random_contour(random, size, kStrides[random.range(0, 3)]));
    }
    expect(size, contours, random);
  }
}

void expect_pixels(const BitMask& mask, const cv::Mat& expected, const std::string& what) {
  cv::Mat got(expected.size(), CV_8UC1);
  mask.write(got);
  ASSERT_EQ(cv::norm(got, expected, cv::NORM_INF), 0.0) << expected.size() << ' ' << what;
}

void expect_stroked(cv::Size size, const Contours& contours, int radius) {
  cv::Mat expected = cv::Mat::zeros(size, CV_8UC1);
  cv::drawContours(expected, contours, -1, cv::Scalar(255), 2 * radius, 0);
  BitMask mask(size.width, size.height);
  kel::stroke_contours(mask, contours, radius);
  expect_pixels(mask, expected, "radius " + std::to_string(radius));
}

TEST(StrokeContours, EveryWidth) {
  with_random_contours(20000, [](cv::Size size, const Contours& contours, test::Random& random) {
    expect_stroked(size, contours, random.range(0, random.range(0, 3) == 0 ? 500 : 20));
  });
}

// Any number of discs in a row, and long and short sides among them.
TEST(StrokeContours, FewAndManyPoints) {
  test::Random random(8);
  for (int round = 0; round < 300; ++round) {
    const cv::Size size(random.range(1, 400), random.range(1, 200));
    const int radius = random.range(1, round % 10 == 0 ? 300 : 30);
    Contours contours(static_cast<size_t>(random.range(1, round % 2 == 0 ? 20 : 2000)));
    for (kel::Contour& contour : contours) contour = random_contour(random, size, 1);
    for (size_t i = 0; i < contours.size(); ++i) contours[i].resize(i % 3 == 0 ? 3 : 1);
    expect_stroked(size, contours, radius);
  }
}

// Rows of many discs, farther to the right the lower they are.
TEST(StrokeContours, StepsOfManyPoints) {
  Contours contours;
  for (int i = 0; i < 500; ++i) contours.push_back({{300 * (i % 4) + i / 2, 3 + 100 * (i % 4)}});
  for (const int radius : {1, 5, 20, 45, 64}) expect_stroked({1400, 400}, contours, radius);
}

class FillContours : public test::JudgedByOpenCv {};

// Points beyond the mask, and contours inside or across one another.
TEST_F(FillContours, OneByOneAndTogether) {
  with_random_contours(10000, [](cv::Size size, Contours contours, test::Random& random) {
    for (kel::Contour& contour : contours) {
      const int reach = random.range(0, 3) * 20;
      for (cv::Point& point : contour) {
        point += {random.range(-reach, reach), random.range(-reach, reach)};
      }
    }
    cv::Mat each = cv::Mat::zeros(size, CV_8UC1);
    cv::Mat together = each.clone();
    cv::drawContours(together, contours, -1, cv::Scalar(255), cv::FILLED, 0);
    for (int i = 0; i < static_cast<int>(contours.size()); ++i) {
      cv::drawContours(each, contours, i, cv::Scalar(255), cv::FILLED, 0);
    }
    BitMask mask(size.width, size.height);
    kel::fill_top_level(mask, contours, kel::Hierarchy(contours.size(), cv::Vec4i::all(-1)));
    expect_pixels(mask, together, "together");
    kel::fill_contours(mask, contours);
    expect_pixels(mask, each | together, "one by one");
  });
}

// Too far for OpenCV's 32-bit row counts; the triangle covers the mask.
TEST_F(FillContours, TheWholeRangeOfIntegers) {
  BitMask mask(80, 50);
  kel::fill_contours(mask, {{{INT_MIN, INT_MIN}, {INT_MAX, INT_MIN}, {0, INT_MAX}}});
  expect_pixels(mask, cv::Mat(50, 80, CV_8UC1, cv::Scalar(255)), "all");
}

}  // namespace
