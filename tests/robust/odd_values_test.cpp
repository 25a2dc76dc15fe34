// Odd values do not make a call slow: ordinary and odd calls of an operation on 1920 x 1080 pixels,
// measured in processor time, which other processes do not lengthen.
#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <ctime>
#include <opencv2/imgproc.hpp>

#include "support/samples.h"

namespace {

using test::TestImage;

template <typename Value, typename Call>
void compare(const char* name, const Value& ordinary, const Value& odd, const Call& call) {
  const auto median = [&call](const Value& value) {
    std::vector<double> times(5);
    for (double& time : times) {
      const std::clock_t start = std::clock();
      call(value);
      time = 1e3 * static_cast<double>(std::clock() - start) / CLOCKS_PER_SEC;
    }
    std::nth_element(times.begin(), times.begin() + 2, times.end());
    return times[2];
  };
  const double usual = median(ordinary);
  EXPECT_LT(median(odd), 10 * usual + 1) << name << ", ms";
}

void outline(const QX_OFFSCREEN& image, const MKOutlineMode& mode) {
  MKGetOutline result{};
  void* handle = mvk_outline_create();
  EXPECT_EQ(mvk_outline_expansion(handle, &image, &mode, &result), MVK_OK);
  mvk_outline_destroy(handle, &result);
}

// A frame around some dots, and below them a comb with thousands of dots between its teeth.
TestImage comb_below(int dots) {
  TestImage image(QX_FMT_GRAY, 300, 300);
  cv::Mat pixels(300, 300, CV_8UC1, image.row(0));
  pixels = 0;
  cv::rectangle(pixels, cv::Rect(0, 0, 300, 300), 255);
  for (int i = 0; i < dots; ++i) pixels.at<uint8_t>(2 + i / 75 * 2, 2 + i % 75 * 2) = 255;
  pixels(cv::Rect(3, 12, 292, 1)) = 255;
  for (int x = 3; x < 297; x += 6) pixels(cv::Rect(x, 12, 1, 284)) = 255;
  for (int i = 0; i < 140 * 48; ++i) pixels.at<uint8_t>(15 + i / 48 * 2, 6 + i % 48 * 6) = 255;
  return image;
}

TEST(OddValues, TakeNoLongerThanOthers) {
  constexpr int kW = 1920;
  constexpr int kH = 1080;
  const TestImage small = test::sample_mask("hopper_mask_256x256.png");
  const TestImage tiny = TestImage::gray(2, 2, {255, 0, 255, 255});
  const TestImage mask = test::scaled_mask(small, kW, kH);
  const TestImage guide(QX_FMT_RGB24, kW, kH);
  TestImage out(QX_FMT_GRAY, kW, kH);
  compare("polygon far outside", std::vector<TPOINT>{{kW / 2, 10}, {kW, kH}, {0, kH / 2}},
          std::vector<TPOINT>{{kW / 2, INT_MIN}, {INT_MAX, kH}, {INT_MIN, kH / 2}},
          [&](const auto& points) { mvk_fill_area_up(out.get(), 3, points.data()); });
  compare("sigmas of 2^32 - 1", 5U, UINT32_MAX, [&](uint32_t sigma) {
    mvk_smooth(&mask.descriptor(), out.get(), 9, MKBlur::Gaussian, 0, sigma, sigma);
    mvk_smooth(&mask.descriptor(), out.get(), 9, MKBlur::Bilateral, 0, sigma, sigma);
  });
  compare("mask of four pixels", small.descriptor(), tiny.descriptor(), [&](const auto& from) {
    mvk_make_mask_smooth(out.get(), &from, &guide.descriptor(), 1, 1919);
  });
  compare("huge landmarks", 1, INT_MAX / 300, [](int scale) {
    std::vector<int32_t> points;
    for (int i = 0; i < 106; ++i) points.insert(points.end(), {i * scale, i * i % 289 * scale});
    std::vector<int32_t> found(22);
    for (int i = 0; i < 100; ++i) {
      mvk_guess_forehead_landmarks(found.data(), points.data(), 106, kW, kH);
    }
  });

  // Borders are told apart by 125 marks: with 124 dots the frame and the comb share one.
  compare("two borders with one mark", comb_below(123), comb_below(124), [](const auto& image) {
    outline(image, {MK_OMODE_STROKE, MK_OCHAIN_ALL, 0, MK_OSMOOTH_NONE, 0, nullptr, 127});
  });

  TestImage specked = mask.clone();  // single pixels, as segmentation leaves them
  for (int y = 7; y < kH; y += 67) {
    for (int x = 7; x < kW; x += 71) specked.row(y)[x] = 255;
  }
  const TPOINT middle{kW / 2, kH / 2};
  TPOINT on_contour{kW / 2, 0};  // the shape's first point
  while (mask.row(on_contour.y)[on_contour.x] < 128) ++on_contour.y;
  for (uint32_t mode = MK_OMODE_STROKE; mode <= MK_OMODE_VECTOR_CENTER; ++mode) {
    const auto call = [mode](const std::pair<QX_OFFSCREEN, TPOINT>& given) {
      outline(given.first, {mode, MK_OCHAIN_ALL, 40, MK_OSMOOTH_2, 1, &given.second, 127});
    };
    const std::pair<QX_OFFSCREEN, TPOINT> ordinary{mask, middle};
    compare("centre on a contour", ordinary, {mask, on_contour}, call);
    compare("centre far off", ordinary, {mask, TPOINT{INT_MIN, INT_MAX}}, call);
    compare("specks", ordinary, {specked, middle}, call);
  }
}

// Dots that cover a share of the pixels, in percent.
TestImage dots(int width, int height, int share) {
  TestImage image(QX_FMT_GRAY, width, height);
  cv::Mat pixels(height, width, CV_8UC1, image.row(0));
  cv::theRNG().state = 1;
  cv::randu(pixels, 0, 100);
  cv::threshold(pixels, pixels, share - 1, 255, cv::THRESH_BINARY_INV);
  return image;
}

TEST(OddImages, AreBoundedByPixelsAndPoints) {
  // Above 2^23 pixels speckle once took 35 s instead of 0.02.
  compare("holes", dots(2049, 4093, 10), dots(2050, 4098, 10), [](const TestImage& image) {
    const TestImage filled = image.clone();
    mvk_make_up_holes(&filled.descriptor(), &image.descriptor(), 127);
  });
  const TestImage dense = dots(640, 360, 40);
  for (uint32_t mode = MK_OMODE_STROKE; mode <= MK_OMODE_HULL_FILL_STROKE; ++mode) {
    compare("width of a stroke", uint16_t{3}, uint16_t{500}, [&](uint16_t expand) {
      outline(dense, {mode, MK_OCHAIN_ALL, expand, MK_OSMOOTH_NONE, 0, nullptr, 127});
    });
  }
}

}  // namespace
