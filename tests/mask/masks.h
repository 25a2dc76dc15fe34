// Masks of many kinds for tests and benchmarks, and the comparison with a judge's matrix.
#pragma once

#include "reference/mask.h"
#include "support/targets.h"
#include "support/test_image.h"

namespace test {

enum class Kind { Empty, Full, Noise, Specks, Dense, Checker, Gradient, Soft, Rings, Lines };
inline constexpr Kind kKinds[] = {Kind::Empty, Kind::Full,    Kind::Noise,    Kind::Specks,
                                  Kind::Dense, Kind::Checker, Kind::Gradient, Kind::Soft,
                                  Kind::Rings, Kind::Lines};

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
  for (int i = 0; (kind == Kind::Checker || kind == Kind::Gradient) && i < width * height; ++i) {
    const int x = i % width;
    const int y = i / width;
    m.data[i] = static_cast<uint8_t>(kind == Kind::Checker ? ((x ^ y) & 1) * 255 : (2 * x + y) / 5);
  }
  for (int i = 0; kind >= Kind::Soft && i < 6; ++i) {
    const cv::Point at(random.range(-3, width + 3), random.range(-3, height + 3));
    const cv::Point to(random.range(-3, width + 3), random.range(-3, height + 3));
    const int radius = random.range(1, std::max(2, span / 3));
    if (kind == Kind::Soft) cv::circle(m, at, radius, cv::Scalar(255), -1, cv::LINE_AA);
    if (kind == Kind::Lines) cv::line(m, at, to, cv::Scalar(255), 1, i % 2 == 0 ? 8 : 4);
    for (int r = radius; kind == Kind::Rings && r > 0; r -= 3) {
      cv::circle(m, at, r, cv::Scalar(r % 2 == 0 ? 255 : 0), -1);
    }
  }
  if (kind == Kind::Soft) cv::blur(m, m, cv::Size(std::max(1, span / 20), std::max(1, span / 25)));
  return image;
}

// One of the usual shapes, or taller than most kernels, or wider than a block of columns.
inline TestImage random_mask(Kind kind, Random& random) {
  std::vector<Shape> shapes = kShapes;
  shapes.insert(shapes.end(), {{131, 67}, {70, 250}, {2200, 30}});
  const int last = static_cast<int>(shapes.size()) - 1;
  const auto [width, height] = shapes[static_cast<size_t>(random.range(0, last))];
  return make_mask(kind, width, height, random.next());
}

// `call(dst)` fills a destination with the bytes of `expected`, packed, and writes no others.
template <typename Call>
void expect_result(const cv::Mat& expected, const std::string& what, Call call) {
  const uint32_t format = expected.type() == CV_8UC1 ? QX_FMT_GRAY : QX_FMT_RGB24;
  const TestImage dst(format, expected.cols, expected.rows, 3, 0, 2);
  const TestImage wanted = dst.clone();
  as_written::write_back(wanted, expected);
  ASSERT_EQ(call(dst.get()), MVK_OK) << what;
  ASSERT_TRUE(dst == wanted) << dst << ' ' << what;
}

// `call(dst, src)` does so, also in place, on every instruction set.
template <typename Call>
void expect_filtered(const TestImage& src, const cv::Mat& expected, int parameter, Call call) {
  const std::string what = "parameter " + std::to_string(parameter);
  on_every_target([&] {
    expect_result(expected, what, [&](const QX_OFFSCREEN* dst) { return call(dst, src.get()); });
    TestImage both = src.clone();
    both.descriptor().pitch[0] += 5;  // rows are packed all the same
    ASSERT_EQ(call(both.get(), both.get()), MVK_OK) << what;
    ASSERT_EQ(cv::norm(as_written::block(both), expected), 0.0) << both << " in place, " << what;
  });
}

}  // namespace test
