// The outline service against the same steps as plain OpenCV calls and against what a user would do
// without it (dilate, then trace), also on the worst inputs known.
#include <memory>
#include <opencv2/imgproc.hpp>
#include <string>

#include "bench.h"
#include "mask/masks.h"
#include "reference/outline.h"
#include "support/samples.h"

namespace {

using test::TestImage;
using Image = std::shared_ptr<TestImage>;

// A handle and a record, reused in every run as in an app.
struct Service {
  void* handle = mvk_outline_create();
  MKGetOutline record{};
  Service() = default;
  Service(const Service&) = delete;
  Service& operator=(const Service&) = delete;
  ~Service() { mvk_outline_destroy(handle, &record); }
};

MKOutlineMode mode_of(uint32_t mode, uint16_t expand_size, uint32_t smooth_level) {
  return {mode, MK_OCHAIN_SIMPLE, expand_size, MKOSmoothLevel{smooth_level}, 0, nullptr, 127};
}

void add(const std::string& name, const Image& image, const MKOutlineMode& mode) {
  const std::string operation = "outline, " + name + ", mode " + std::to_string(mode.mode) +
                                ", expand " + std::to_string(mode.expand_size) + ", smooth " +
                                std::to_string(mode.smooth_level);
  const bench::Size size{image->width(), image->height()};
  const auto service = std::make_shared<Service>();
  bench::add_morvik(operation, size, {bench::bytes_of(*image), 0}, [=] {
    mvk_outline_expansion(service->handle, image->get(), &mode, &service->record);
  });
  bench::add(operation, size, "as written", [=] { as_written::outlines(*image, mode); });
  if (mode.mode != MK_OMODE_STROKE || mode.smooth_level != 0) return;
  bench::add(operation, size, "cv::dilate, cv::findContours", [=] {
    const cv::Mat mask(size.height, size.width, CV_8UC1, image->row(0));
    const int side = 2 * mode.expand_size + 1;
    cv::Mat grown;
    cv::threshold(mask, grown, mode.threshold, 255, cv::THRESH_BINARY);
    cv::dilate(grown, grown, cv::getStructuringElement(cv::MORPH_ELLIPSE, {side, side}));
    std::vector<std::vector<cv::Point>> contours;
    cv::findContours(grown, contours, cv::RETR_TREE, cv::CHAIN_APPROX_SIMPLE);
  });
}

Image scaled(const std::string& name, int width, int height) {
  return std::make_shared<TestImage>(
      test::scaled_mask(test::sample_mask(name + "_mask_256x256.png"), width, height));
}

// Foreground wherever a random number is below `percent`.
Image noise(int side, int percent) {
  auto image = std::make_shared<TestImage>(QX_FMT_GRAY, side, side);
  test::Random random(5);
  for (int i = 0; i < side * side; ++i) {
    image->row(0)[i] = random.range(0, 99) < percent ? 255 : 0;
  }
  return image;
}

// Teeth one pixel wide below a spine of so many rows; without a spine they are stripes.
Image comb(int width, int height, int back) {
  auto image = std::make_shared<TestImage>(QX_FMT_GRAY, width, height);
  for (int i = 0; i < width * height; ++i) {
    image->row(0)[i] = i < back * width || i % width % 2 == 0 ? 255 : 0;
  }
  return image;
}

// Shapes of one pixel like the letter U, each inside the one before.
Image nested(int side) {
  auto image = std::make_shared<TestImage>(test::make_mask(test::Kind::Empty, side, side));
  cv::Mat pixels(side, side, CV_8UC1, image->row(0));
  for (int i = 0; i < side / 2; i += 2) {
    const int end = side - 1 - i;
    cv::rectangle(pixels, {i, -1}, {end, end}, 255);
  }
  return image;
}

const bool registered = [] {
  for (const char* name : {"collins", "hopper", "photographer"}) {
    for (const bench::Size size : {bench::Size{256, 256}, {1920, 1080}}) {
      const Image mask = scaled(name, size.width, size.height);
      for (uint32_t mode = 0; mode < 9; ++mode) {
        for (const uint32_t smooth : {0U, 3U}) add(name, mask, mode_of(mode, 12, smooth));
      }
      add(name, mask, mode_of(MK_OMODE_STROKE, 60, 0));
    }
  }
  add("photographer", scaled("photographer", 4032, 3024), mode_of(MK_OMODE_FILL_STROKE, 12, 3));
  add("noise", noise(1024, 30), mode_of(MK_OMODE_STROKE, 0, 0));
  add("stripes", comb(1920, 1080, 0), mode_of(MK_OMODE_STROKE, 0, 0));
  for (const uint32_t mode : {MK_OMODE_FILL_STROKE, MK_OMODE_HULL_FILL_STROKE, MK_OMODE_VECTOR}) {
    add("stripes", comb(1024, 1024, 0), mode_of(mode, 3, 0));
    add("nested", nested(1024), mode_of(mode, 3, 0));
  }
  const auto checkerboard =
      std::make_shared<TestImage>(test::make_mask(test::Kind::Checker, 128, 128));
  for (const uint32_t mode : {MK_OMODE_STROKE, MK_OMODE_FILL_STROKE, MK_OMODE_HULL_FILL_STROKE,
                              MK_OMODE_POLAR, MK_OMODE_VECTOR}) {
    add("noise", noise(256, 30), mode_of(mode, 12, 3));
    add("dense noise", noise(256, 70), mode_of(mode, 2, 0));
    add("checkerboard", checkerboard, mode_of(mode, 2, 3));
    add("comb", comb(1920, 1080, 1), mode_of(mode, 12, 0));
  }
  return true;
}();

}  // namespace
