// Odd values do not make a call long: ordinary and odd calls of an operation on 1920 x 1080 pixels,
// measured side by side.
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <climits>
#include <functional>

#include "support/samples.h"

namespace {

using test::TestImage;

struct Pair {
  const char* name;
  std::function<void(bool odd)> call;
};

double median_seconds(const Pair& pair, bool odd) {
  std::vector<double> seconds;
  for (int i = 0; i < 5; ++i) {
    const auto start = std::chrono::steady_clock::now();
    pair.call(odd);
    seconds.push_back(
        std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count());
  }
  std::nth_element(seconds.begin(), seconds.begin() + 2, seconds.end());
  return seconds[2];
}

uint32_t outline(TestImage& image, uint32_t mode, TPOINT center) {
  MKGetOutline result{};
  const MKOutlineMode parameters{mode, MK_OCHAIN_ALL, 40, MK_OSMOOTH_2, 1, &center, 127};
  void* handle = mvk_outline_create();
  const uint32_t code = mvk_outline_expansion(handle, &image, &parameters, &result);
  mvk_outline_destroy(handle, &result);
  return code;
}

// A single pixel here and there, as segmentation leaves them.
TestImage with_specks(const TestImage& mask) {
  TestImage specked = mask.clone();
  for (int y = 7; y < mask.height(); y += 67) {
    for (int x = 7; x < mask.width(); x += 71) specked.row(y)[x] = 255;
  }
  return specked;
}

TEST(OddValues, TakeNoLongerThanOthers) {
  constexpr int kW = 1920;
  constexpr int kH = 1080;
  TestImage mask = test::scaled_mask(test::sample_mask("hopper_mask_256x256.png"), kW, kH);
  TestImage specked = with_specks(mask);
  TestImage out(QX_FMT_GRAY, kW, kH);
  TestImage tiny = TestImage::gray(2, 2, {255, 0, 255, 255});
  TestImage small = test::sample_mask("hopper_mask_256x256.png");
  TestImage guide(QX_FMT_RGB24, kW, kH);
  TPOINT on_contour{kW / 2, 0};  // the shape's first point
  while (mask.row(on_contour.y)[on_contour.x] < 128) ++on_contour.y;
  const TPOINT triangle[] = {{kW / 2, 10}, {kW, kH}, {0, kH / 2}};
  const TPOINT far_off[] = {{kW / 2, INT_MIN}, {INT_MAX, kH}, {INT_MIN, kH / 2}};
  std::vector<Pair> pairs{{"polygon far outside",
                           [&](bool odd) { mvk_fill_area_up(&out, 3, odd ? far_off : triangle); }},
                          {"sigmas of 2^32 - 1",
                           [&](bool odd) {
                             const uint32_t sigma = odd ? UINT32_MAX : 5;
                             mvk_smooth(&mask, &out, 9, MKBlur::Gaussian, 0, sigma, sigma);
                             mvk_smooth(&mask, &out, 9, MKBlur::Bilateral, 0, sigma, sigma);
                           }},
                          {"mask of four pixels", [&](bool odd) {
                             mvk_make_mask_smooth(&out, odd ? &tiny : &small, &guide, 1, 1919);
                           }}};
  for (const uint32_t mode : {MK_OMODE_POLAR_CENTER, MK_OMODE_VECTOR_CENTER}) {
    for (const TPOINT center : {on_contour, TPOINT{INT_MIN, INT_MAX}}) {
      pairs.push_back({"centre of an expansion", [&, mode, center](bool odd) {
                         outline(mask, mode, odd ? center : TPOINT{kW / 2, kH / 2});
                       }});
    }
  }
  for (const uint32_t mode : {MK_OMODE_FILL_STROKE, MK_OMODE_POLAR, MK_OMODE_VECTOR}) {
    pairs.push_back(
        {"specks", [&, mode](bool odd) { outline(odd ? specked : mask, mode, TPOINT{}); }});
  }
  for (const Pair& pair : pairs) {
    const double ordinary = median_seconds(pair, false);
    const double odd = median_seconds(pair, true);
    std::printf("%-24s %8.2f ms, odd %8.2f ms\n", pair.name, ordinary * 1e3, odd * 1e3);
    EXPECT_LT(odd, 10 * ordinary + 1e-3) << pair.name;
  }
}

}  // namespace
