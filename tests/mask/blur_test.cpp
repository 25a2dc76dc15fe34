// mvk_smooth against the OpenCV calls that define it.
#include "mask/masks.h"

namespace {

using test::Kind;
using test::TestImage;

void expect_smooth(const TestImage& src, int ksize, MKBlur type, uint32_t p1 = 0, uint32_t p2 = 0) {
  const cv::Mat expected = as_written::blur(as_written::block(src), {}, ksize, type, p1, p2);
  test::expect_filtered(src, expected, ksize, [&](auto* dst, auto* from) {
    return mvk_smooth(from, dst, static_cast<uint32_t>(ksize), type, 7, p1, p2);
  });
}

TEST(Smooth, MedianOfEveryKernelAndKind) {
  test::Random random(2);
  for (int ksize = 1; ksize < 200; ksize += 2) {
    for (const Kind kind : test::kKinds) {
      expect_smooth(test::random_mask(kind, random), ksize, MKBlur::Median);
      expect_smooth(test::make_mask(kind, 64 + ksize % 11, ksize + 21), ksize, MKBlur::Median);
    }
  }
}

// Rectangles from single pixels to whole rows, at every place relative to vectors and borders.
TEST(Smooth, SmallMedianOfFlatAreas) {
  test::Random random(5);
  for (const int width : {66, 67, 68, 69, 127, 128, 131, 132, 197, 400, 65536, 65537}) {
    TestImage src(QX_FMT_GRAY, width, 50);
    cv::Mat m(50, width, CV_8UC1, src.row(0));
    m = 255;
    for (int i = 0; i < 30; ++i) {
      const cv::Rect area(random.range(-width, width), random.range(-2, 49),
                          random.range(1, 2 * width), random.range(1, 8));
      cv::rectangle(m, area, cv::Scalar(random.range(0, 255)), -1);
    }
    for (const int ksize : {3, 5}) expect_smooth(src.clone(), ksize, MKBlur::Median);
  }
}

TEST(Smooth, EveryTypeAndShape) {
  test::Random random(3);
  for (const auto& [width, height] : test::kShapes) {
    for (uint32_t draw = 0; draw < 120; ++draw) {
      const auto type = static_cast<MKBlur>(draw % 4);
      const int ksize = 1 + 2 * random.range(0, type == MKBlur::Bilateral ? 4 : 99);
      const uint32_t param1 = random.next() >> random.range(0, 31);
      const uint32_t param2 = random.next() >> random.range(0, 31);
      for (const uint32_t format : {QX_FMT_GRAY, QX_FMT_RGB24}) {
        expect_smooth(TestImage(format, width, height, 0, 0, draw), ksize, type, param1, param2);
      }
    }
  }
}

// Every kernel on images of some vectors, on smaller ones than the kernel, and on white ones.
TEST(Smooth, MeanAndGaussianOfEveryKernel) {
  test::Random random(4);
  for (int ksize = 1; ksize < 200; ksize += 2) {
    const uint32_t format = ksize % 4 == 1 ? QX_FMT_GRAY : QX_FMT_RGB24;
    for (const int longest : {9, 60, 700}) {
      TestImage src(format, random.range(1, longest), random.range(1, 50), 0, 0, random.next());
      if (longest == 60) src.fill(255);
      expect_smooth(src, ksize, MKBlur::Mean);
      expect_smooth(src, ksize, MKBlur::Gaussian);
      const auto sigma = [&] { return static_cast<uint32_t>(random.range(0, ksize)); };
      expect_smooth(src, ksize, MKBlur::Gaussian, sigma(), sigma());
    }
  }
}

// Large images are shared over threads, in bands of rows.
TEST(Smooth, BandsOfLargeImages) {
  const int threads = cv::getNumThreads();
  const TestImage src(QX_FMT_RGB24, 601, 631);
  for (const int bands : {2, 3, 7}) {
    cv::setNumThreads(bands);
    for (const int ksize : {3, 25, 151}) {
      expect_smooth(src, ksize, MKBlur::Mean);
      expect_smooth(src, ksize, MKBlur::Gaussian);
    }
  }
  cv::setNumThreads(threads);
}

// OpenCV's product of width and kernel leaves its int and becomes a small buffer. What does not
// reach the borders of a part is the same in the whole.
TEST(Smooth, RowsTooLongForOpenCv) {
  constexpr int kWidth = 21600000;
  constexpr int kPart = 300;
  const TestImage src(QX_FMT_GRAY, kWidth, 2);
  const TestImage dst = src.clone();
  const cv::Mat part = as_written::block(src).colRange(0, kPart).clone();
  for (const MKBlur type : {MKBlur::Mean, MKBlur::Gaussian}) {
    const cv::Mat expected = as_written::blur(part, {}, 199, type, 3, 3);
    ASSERT_EQ(mvk_smooth(src.get(), dst.get(), 199, type, 0, 3, 3), MVK_OK);
    const cv::Mat result = as_written::block(dst).colRange(0, kPart);
    EXPECT_EQ(cv::norm(result.colRange(0, 200), expected.colRange(0, 200)), 0.0);
  }
  const TestImage before = dst.clone();
  EXPECT_EQ(mvk_smooth(src.get(), dst.get(), 199, MKBlur::Bilateral, 0, 3, 3), MVK_OK);
  EXPECT_TRUE(dst == before);
}

}  // namespace
