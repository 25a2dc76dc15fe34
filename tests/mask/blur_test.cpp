// mvk_smooth against the OpenCV calls that define it.
#include "mask/masks.h"
#include "support/judged_by_opencv.h"

namespace {

using test::Kind;
using test::TestImage;

class Smooth : public test::JudgedByOpenCv {};

void expect_smooth(const TestImage& src, int ksize, MKBlur type, uint32_t p1 = 0, uint32_t p2 = 0) {
  const cv::Mat expected = as_written::blur(as_written::block(src), {}, ksize, type, p1, p2);
  test::expect_filtered(src, expected, ksize, [&](auto* dst, auto* from) {
    return mvk_smooth(from, dst, static_cast<uint32_t>(ksize), type, 7, p1, p2);
  });
}

TEST_F(Smooth, MedianOfEveryKernelAndKind) {
  test::Random random(2);
  for (int ksize = 1; ksize < 200; ksize += 2) {
    for (const Kind kind : test::kKinds) {
      expect_smooth(test::random_mask(kind, random), ksize, MKBlur::Median);
      expect_smooth(test::make_mask(kind, 64 + ksize % 11, ksize + 21), ksize, MKBlur::Median);
    }
  }
}

// Rectangles from single pixels to whole rows, at every place relative to vectors and borders.
TEST_F(Smooth, SmallMedianOfFlatAreas) {
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

// Gray areas that begin and end at every place in words of bits, and fill blocks, between black.
TEST_F(Smooth, MedianOfGrayRuns) {
  test::Random random(6);
  for (const int width : {64, 65, 128, 511, 512, 513, 576, 1025}) {
    TestImage src(QX_FMT_GRAY, width, 60);
    src.fill(0);
    for (int y = 20; y < 60; ++y) {
      const int gap = y < 40 ? 0 : random.range(0, width);
      for (int x = gap; x < width; ++x) src.row(y)[x] = static_cast<uint8_t>(random.range(1, 254));
    }
    for (const int ksize : {7, 15, 31, 33}) expect_smooth(src.clone(), ksize, MKBlur::Median);
  }
}

TEST_F(Smooth, EveryTypeAndShape) {
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
TEST_F(Smooth, EveryKernel) {
  test::Random random(4);
  for (int ksize = 1; ksize < 200; ksize += 2) {
    const uint32_t format = ksize % 4 == 1 ? QX_FMT_GRAY : QX_FMT_RGB24;
    for (const int longest : {9, 60, 700}) {
      TestImage src(format, random.range(1, longest), random.range(1, 50), 0, 0, random.next());
      if (longest == 60) src.fill(255);
      expect_smooth(src, ksize, MKBlur::Mean);
      expect_smooth(src, ksize, MKBlur::Median);
      expect_smooth(src, ksize, MKBlur::Gaussian);
      const auto sigma = [&] { return static_cast<uint32_t>(random.range(0, ksize)); };
      expect_smooth(src, ksize, MKBlur::Gaussian, sigma(), sigma());
    }
  }
}

// Rows end everywhere in vectors, words and the chunks that kernels take.
TEST_F(Smooth, EveryWidth) {
  test::Random random(9);
  for (int width = 1; width < 1100; ++width) {
    for (const uint32_t format : {QX_FMT_GRAY, QX_FMT_RGB24}) {
      const TestImage src(format, width, random.range(1, 6), 0, 0, random.next());
      const int ksize = 2 * random.range(1, 6) + 1;
      const std::pair<MKBlur, int> blurs[]{{MKBlur::Gaussian, 3},     {MKBlur::Gaussian, 5},
                                           {MKBlur::Gaussian, 7},     {MKBlur::Gaussian, 6 + ksize},
                                           {MKBlur::Median, ksize},   {MKBlur::Mean, ksize},
                                           {MKBlur::Bilateral, ksize}};
      for (const auto& [type, side] : blurs) {
        const cv::Mat expected = as_written::blur(as_written::block(src), {}, side, type, 9, 3);
        const TestImage both = src.clone();
        const auto kernel = static_cast<uint32_t>(side);
        ASSERT_EQ(mvk_smooth(both.get(), both.get(), kernel, type, 0, 9, 3), MVK_OK);
        ASSERT_EQ(cv::norm(as_written::block(both), expected), 0.0) << both << " by " << side;
      }
    }
  }
}

// Gray levels far apart and near ones, flat areas, rows that end anywhere in a vector, kernels
// larger than the image, weights that vanish and weights that do not fall.
TEST_F(Smooth, BilateralOfManyKernels) {
  test::Random random(6);
  for (int i = 0; i < 120; ++i) {
    const bool is_large = i % 20 == 0;
    const int ksize = is_large ? 199 - 8 * i / 20 : 1 + 2 * random.range(0, 9);
    const int width = random.range(1, is_large ? 20 : 100);
    const int height = random.range(1, is_large ? 5 : 20);
    const auto param1 = static_cast<uint32_t>(random.range(0, 1 << random.range(0, 30)));
    const auto param2 = static_cast<uint32_t>(random.range(0, ksize));
    expect_smooth(test::make_mask(test::kKinds[i % 10], width, height, random.next()), ksize,
                  MKBlur::Bilateral, param1, param2);
    TestImage colours(QX_FMT_RGB24, width, height, 0, 0, random.next());
    if (i % 3 == 0) std::fill_n(colours.row(0), 3 * width * (height / 2), uint8_t{90});
    expect_smooth(colours, ksize, MKBlur::Bilateral, param1, param2);
  }
}

TEST_F(Smooth, BilateralOfStripsOfColumns) {
  for (const int width : {2047, 2048, 2049, 2070, 4100}) {
    for (const Kind kind : {Kind::Noise, Kind::Soft, Kind::Full}) {
      expect_smooth(test::make_mask(kind, width, 12), 7, MKBlur::Bilateral, 30, 4);
    }
    expect_smooth(TestImage(QX_FMT_RGB24, width, 9), 5, MKBlur::Bilateral, 80, 3);
  }
}

// Where windows are flat nothing is computed, up to the mirrored borders.
TEST_F(Smooth, MeanAndGaussianOfMasks) {
  for (const Kind kind : {Kind::Empty, Kind::Soft, Kind::Rings, Kind::Lines, Kind::Dense}) {
    for (const int ksize : {3, 5, 15, 31, 35, 99, 199}) {
      const TestImage src = test::make_mask(kind, 700 + ksize, 431, static_cast<uint64_t>(ksize));
      expect_smooth(src, ksize, MKBlur::Mean);
      expect_smooth(src, ksize, MKBlur::Gaussian);
      expect_smooth(src, ksize, MKBlur::Gaussian, 2, 30);
    }
  }
  for (const int edge : {16, 32, 384}) {  // straight, between the areas that are looked at
    const TestImage src = test::make_mask(Kind::Empty, 400, 300);
    cv::Mat(300, 400, CV_8UC1, src.descriptor().plane[0]).colRange(0, edge).setTo(255);
    for (const int ksize : {15, 31, 99}) expect_smooth(src, ksize, MKBlur::Gaussian);
  }
}

// Large images are shared over threads, in bands of rows.
TEST_F(Smooth, BandsOfLargeImages) {
  const int threads = cv::getNumThreads();
  const TestImage src(QX_FMT_RGB24, 601, 631);
  for (const int bands : {2, 3, 7}) {
    cv::setNumThreads(bands);
    for (const int ksize : {3, 25, 151}) {
      expect_smooth(src, ksize, MKBlur::Mean);
      expect_smooth(src, ksize, MKBlur::Median);
      expect_smooth(src, ksize, MKBlur::Gaussian);
    }
    expect_smooth(src, 5, MKBlur::Bilateral, 40, 2);
  }
  cv::setNumThreads(threads);
}

// OpenCV's product of width and kernel leaves its int and becomes a small buffer. What does not
// reach the borders of a part is the same in the whole.
TEST_F(Smooth, RowsTooLongForOpenCv) {
  constexpr int kWidth = 21600000;
  constexpr int kPart = 300;
  TestImage src(QX_FMT_GRAY, kWidth, 2);
  const TestImage dst = src.clone();
  for (int y = 0; y < 2; ++y) {  // the bilateral filter takes long where there is anything to see
    std::fill_n(src.row(0) + int64_t{kWidth} * y + kPart, kWidth - kPart, uint8_t{200});
  }
  const cv::Mat part = as_written::block(src).colRange(0, kPart).clone();
  for (const MKBlur type : {MKBlur::Mean, MKBlur::Gaussian, MKBlur::Bilateral}) {
    const int ksize = type == MKBlur::Bilateral ? 25 : 199;
    const cv::Mat expected = as_written::blur(part, {}, ksize, type, 3, 3);
    ASSERT_EQ(mvk_smooth(src.get(), dst.get(), static_cast<uint32_t>(ksize), type, 0, 3, 3),
              MVK_OK);
    const cv::Mat result = as_written::block(dst).colRange(0, kPart);
    EXPECT_EQ(cv::norm(result.colRange(0, 200), expected.colRange(0, 200)), 0.0);
  }
}

}  // namespace
