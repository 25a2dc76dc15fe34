// Scaling judged by cv::resize, where that is the version whose results the library gives; the
// vector kernels, everywhere, by their plain siblings.
#include <gtest/gtest.h>

#include <opencv2/imgproc.hpp>

#include "core/kernels/block_mean.h"
#include "core/kernels/resize_area.h"
#include "core/kernels/resize_cubic.h"
#include "core/kernels/resize_linear.h"
#include "core/kernels/resize_nearest.h"
#include "reference/resize.h"
#include "support/judged_by_opencv.h"
#include "support/targets.h"
#include "support/test_image.h"

namespace {

using kel::imageprocess::InterpolationMethod;
using namespace kel::imgproc;
using test::TestImage;

const std::vector<uint32_t> kScalable{QX_FMT_RGB24, QX_FMT_ARGB, QX_FMT_GRAY, QX_FMT_NV12,
                                      QX_FMT_NV21};

// The source lies in the middle of a larger matrix: cv::resize reads in front of pairs.
void judge_plane(const QX_OFFSCREEN& dst, const QX_OFFSCREEN& src, int plane, uint32_t method) {
  const uint32_t format = plane == 1                   ? 2
                          : src.format == QX_FMT_RGB24 ? 3
                          : src.format == QX_FMT_ARGB  ? 4
                                                       : 1;
  const auto mat = [&](const QX_OFFSCREEN& image) {
    return cv::Mat(image.height >> plane, image.width >> plane, CV_8UC(static_cast<int>(format)),
                   image.plane[plane], static_cast<size_t>(image.pitch[plane]));
  };
  if (mat(src).empty() || mat(dst).empty()) return;
  cv::Mat padded;
  cv::copyMakeBorder(mat(src), padded, 8, 8, 8, 8, cv::BORDER_REFLECT);
  cv::Mat to = mat(dst);
  cv::resize(padded(cv::Rect({8, 8}, mat(src).size())), to, to.size(), 0, 0,
             static_cast<int>(method));
}

void expect_scaled(const TestImage& src, test::Shape to, uint32_t method) {
  const TestImage expected(src.descriptor().format, to.width, to.height, 3, 2, 2);
  const TestImage blank = expected.clone();
  judge_plane(expected, src, 0, method);
  if (src.descriptor().plane[1] != nullptr) judge_plane(expected, src, 1, method);
  test::on_every_target([&] {
    const TestImage dst = blank.clone();
    ASSERT_EQ(mvk_resize(dst.get(), src.get(), method), MVK_OK);
    ASSERT_TRUE(dst == expected) << dst << " from " << src << " by method " << method;
  });
}

class Resize : public test::JudgedByOpenCv {};

TEST_F(Resize, EveryFormatMethodAndShape) {
  for (const uint32_t format : kScalable) {
    for (const test::Shape from : test::kShapes) {
      const TestImage src(format, from.width, from.height, 5, 4);
      for (const test::Shape to : {from, {1, 1}, {2, 3}, {29, 50}, {64, 66}, {1030, 5}}) {
        for (const uint32_t method : {0U, 1U, 2U, 3U}) expect_scaled(src, to, method);
      }
    }
  }
}

// Any factors, up and down, whole factors, and flat, noisy and two-valued content.
TEST_F(Resize, RandomShapes) {
  test::Random random(14);
  for (int i = 0; i < 600; ++i) {
    const int side = i % 4 == 0 ? 20 : 150;
    test::Shape to{random.range(1, side), random.range(1, side)};
    test::Shape from{random.range(1, side), random.range(1, side)};
    if (i % 3 == 0) from = {to.width * random.range(1, 5), to.height * random.range(1, 5)};
    if (i % 9 == 0) from = {to.width * 2, to.height * 2};
    const uint32_t format = kScalable[static_cast<size_t>(random.range(0, 4))];
    TestImage src(format, from.width, from.height, random.range(0, 3), 0, random.next());
    if (i % 5 == 0) src.fill(static_cast<uint8_t>(random.next()));
    for (size_t at = 0; i % 5 == 1 && at < src.plane_size(); ++at) {
      src.row(0)[at] = src.row(0)[at] < 128 ? 0 : 255;
    }
    for (const uint32_t method : {0U, 1U, 2U, 3U}) expect_scaled(src, to, method);
  }
}

// Rows that are made in several runs of columns, weights that do not sum to 1, blocks too large
// for the vector kernels, sums too long for tables.
TEST_F(Resize, WideAndExtremeShapes) {
  for (const uint32_t format : {QX_FMT_GRAY, QX_FMT_ARGB, QX_FMT_RGB24, QX_FMT_NV12}) {
    for (const auto& [from, to] : {std::pair<test::Shape, test::Shape>{{2, 3}, {5499, 2}},
                                   {{4300, 4}, {3333, 3}},
                                   {{4200, 8}, {2100, 4}},
                                   {{90, 60}, {3, 2}},
                                   {{4000, 5}, {3, 2}},
                                   {{5000, 4}, {1, 4}}}) {
      const TestImage src(format, from.width, from.height);
      for (const uint32_t method : {0U, 1U, 2U, 3U}) expect_scaled(src, to, method);
    }
  }
}

TEST(ResizePlane, ThreadsDoNotChangeTheResult) {
  const int threads = cv::getNumThreads();
  cv::Mat src(700, 900, CV_8UC3);
  cv::randu(src, 0, 256);
  for (const auto method : {InterpolationMethod::kNearest, InterpolationMethod::kLinear,
                            InterpolationMethod::kCubic, InterpolationMethod::kArea}) {
    cv::Mat alone(601, 803, src.type());
    cv::Mat shared = alone.clone();
    cv::setNumThreads(1);
    resize_plane(alone, src, method);
    cv::setNumThreads(2);
    resize_plane(shared, src, method);
    EXPECT_EQ(cv::norm(alone, shared, cv::NORM_INF), 0);
  }
  cv::setNumThreads(threads);
}

TEST(ResizePlane, RowsThatDoNotFitTheirPitchAreLeftAlone) {
  for (const bool breaks_dst : {false, true}) {
    TestImage src(QX_FMT_RGB24, 8, 8);
    TestImage dst(QX_FMT_RGB24, 8, 8, 0, 0, 2);
    const TestImage before = dst.clone();
    (breaks_dst ? dst : src).descriptor().pitch[0] = 16;
    EXPECT_EQ(mvk_resize(dst.get(), src.get(), MVK_RESIZE_LINEAR), MVK_OK);
    EXPECT_TRUE(dst == before);
  }
}

TEST(ResizePlane, InnerCallTakesUnknownMethodsAsNearestAndAbgrAsBytes) {
  const TestImage src(QX_FMT_ABGR, 8, 8);
  TestImage dst(QX_FMT_ABGR, 4, 4, 0, 0, 2);
  TestImage expected = dst.clone();
  for (int i = 0; i < 16; ++i) expected.row(i / 4)[i % 4] = src.row(i / 4 * 2)[i % 4 * 2];
  kel::imgproc::resize(dst.descriptor(), src, InterpolationMethod{7});
  EXPECT_TRUE(dst == expected);
}

}  // namespace
