// Masks of many kinds for tests and benchmarks, and the comparison with a judge's matrix.
#pragma once

#include <gtest/gtest.h>

#include <opencv2/imgproc.hpp>
#include <string>

#include "mask/as_written.h"
#include "support/test_image.h"

namespace test {

enum class Kind { Empty, Full, Noise, Specks, Dense, Checker, Gradient, Soft, Rings, Lines, Count };

// Soft: blobs with soft edges over the border; Rings: islands in holes; Lines: one pixel wide.
inline TestImage make_mask(Kind kind, int width, int height, uint64_t seed = 1) {
  TestImage image(QX_FMT_GRAY, width, height, 0, 0, seed);
  if (kind == Kind::Noise) return image;
  cv::Mat m(height, width, CV_8UC1, image.row(0));
  Random random(seed + 100);
  const int span = std::max(width, height);
  if (kind == Kind::Specks) m = m > 250;
  if (kind == Kind::Dense) m = m > 60;
  if (kind == Kind::Empty || kind >= Kind::Soft) m = 0;
  if (kind == Kind::Full) m = 255;
  for (int y = 0; y < height; ++y) {
    for (int x = 0; x < width; ++x) {
      if (kind == Kind::Checker) m.at<uint8_t>(y, x) = ((x ^ y) & 1) != 0 ? 255 : 0;
      if (kind == Kind::Gradient) m.at<uint8_t>(y, x) = static_cast<uint8_t>((2 * x + y) / 5);
    }
  }
  const auto point = [&] {
    return cv::Point(random.range(-3, width + 3), random.range(-3, height + 3));
  };
  for (int i = 0; kind >= Kind::Soft && i < 6; ++i) {
    const cv::Point at = point();
    const int radius = random.range(1, std::max(2, span / 3));
    if (kind == Kind::Soft) cv::circle(m, at, radius, cv::Scalar(255), -1, cv::LINE_AA);
    if (kind == Kind::Lines) cv::line(m, at, point(), cv::Scalar(255), 1, i % 2 == 0 ? 8 : 4);
    for (int r = radius; kind == Kind::Rings && r > 0; r -= 3) {
      cv::circle(m, at, r, cv::Scalar(r % 2 == 0 ? 255 : 0), -1);
    }
  }
  if (kind == Kind::Soft) cv::blur(m, m, cv::Size(std::max(1, span / 20), std::max(1, span / 25)));
  return image;
}

// The packed rows hold exactly what the judge says.
inline ::testing::AssertionResult holds(const TestImage& image, const cv::Mat& expected) {
  const cv::Mat got = as_written::block(image.descriptor());
  const int count = cv::norm(got, expected, cv::NORM_L1) == 0.0 ? 0 : 1;
  if (count == 0) return ::testing::AssertionSuccess();
  for (int i = 0; i < static_cast<int>(got.total() * got.elemSize()); ++i) {
    if (got.data[i] == expected.data[i]) continue;
    const int row_bytes = image.width() * static_cast<int>(got.elemSize());
    return ::testing::AssertionFailure()
           << image << ": byte " << i % row_bytes << " of row " << i / row_bytes << " is "
           << int{got.data[i]} << " instead of " << int{expected.data[i]};
  }
  return ::testing::AssertionFailure();
}

}  // namespace test
