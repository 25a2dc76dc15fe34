// The mask operations against the plain chains of OpenCV calls, on real masks and on the worst
// inputs known for each.
#include <array>
#include <memory>
#include <opencv2/imgproc.hpp>
#include <string>

#include "bench.h"
#include "mask/masks.h"
#include "reference/mask.h"
#include "support/samples.h"

namespace {

using test::Kind;
using test::TestImage;
using Image = std::shared_ptr<TestImage>;

constexpr const char* kAsWritten = "as written";
constexpr bench::Size kFullHd{1920, 1080};
const std::string kUntidy = "photographer_mask_256x256.png";

Image share(TestImage image) { return std::make_shared<TestImage>(std::move(image)); }

Image scaled(const std::string& name, bench::Size size) {
  return share(test::scaled_mask(test::sample_mask(name), size.width, size.height));
}

// The sample mask, enlarged smoothly, which gives the soft edges of real masks.
Image soft(const std::string& name, bench::Size size) {
  const TestImage mask = test::sample_mask(name);
  Image image = share(TestImage(QX_FMT_GRAY, size.width, size.height));
  cv::Mat to(size.height, size.width, CV_8UC1, image->row(0));
  cv::resize(as_written::block(mask), to, to.size());
  return image;
}

Image photo(bench::Size size) {
  Image image = share(TestImage(QX_FMT_RGB24, size.width, size.height));
  const TestImage sample = test::sample_photo("hopper.jpg");
  cv::Mat to(size.height, size.width, CV_8UC3, image->row(0));
  cv::resize(as_written::block(sample), to, to.size());
  return image;
}

Image like(const Image& src) {
  return share(TestImage(src->descriptor().format, src->width(), src->height()));
}

// Of a filter: the image is read, and one of its size written.
bench::Traffic traffic_of(const Image& image) {
  return {bench::bytes_of(*image), bench::bytes_of(*image)};
}

bench::Size size_of(const Image& image) { return {image->width(), image->height()}; }

void add_mask_smooth(const std::string& name, const Image& mask, bench::Size size, uint32_t mode,
                     uint32_t limit) {
  const Image guide = photo(size);
  const Image dst = share(TestImage(QX_FMT_GRAY, size.width, size.height));
  const std::string operation =
      "mask smooth, " + name + ", limit " + std::to_string(limit) + (mode == 1 ? ", snapping" : "");
  // Of the guide only what lies along the edge is needed.
  bench::add_morvik(operation, size, {bench::bytes_of(*mask), bench::bytes_of(*dst)}, [=] {
    mvk_make_mask_smooth(dst->get(), mask->get(), guide->get(), mode, limit);
  });
  bench::add(operation, size, kAsWritten, [=] {
    as_written::write_back(*dst,
                           as_written::smooth_mask(as_written::block(*mask), *guide, mode, limit));
  });
}

void add_morph(const std::string& name, const Image& src, int amount) {
  const Image dst = like(src);
  const std::string operation = "morphology, " + name + ", amount " + std::to_string(amount);
  bench::add_morvik(operation, size_of(src), traffic_of(src),
                    [=] { mvk_mask_morph(dst->get(), src->get(), amount); });
  bench::add(operation, size_of(src), "cv::morphologyEx", [=] {
    const cv::Mat in(src->height(), src->width(), CV_8UC1, src->row(0));
    cv::Mat out(src->height(), src->width(), CV_8UC1, dst->row(0));
    const int side = std::abs(amount) + 1;
    cv::morphologyEx(in, out, amount > 0 ? cv::MORPH_DILATE : cv::MORPH_ERODE,
                     cv::getStructuringElement(cv::MORPH_ELLIPSE, cv::Size(side, side)),
                     cv::Point(-1, -1), 1, cv::BORDER_CONSTANT);
  });
}

void add_smooth(const std::string& name, const Image& src, int ksize, MKBlur type) {
  static constexpr std::array<const char*, 4> kNames{"mean", "median", "Gaussian", "bilateral"};
  const Image dst = like(src);
  const auto side = static_cast<uint32_t>(ksize);
  const std::string operation = std::string(kNames.at(static_cast<size_t>(type))) + " of " + name +
                                ", kernel " + std::to_string(ksize);
  bench::add_morvik(operation, size_of(src), traffic_of(src),
                    [=] { mvk_smooth(src->get(), dst->get(), side, type, 0, 20, 20); });
  bench::add(operation, size_of(src), "OpenCV", [=] {
    const int pixel = src->descriptor().format == QX_FMT_GRAY ? CV_8UC1 : CV_8UC3;
    const cv::Mat in(src->height(), src->width(), pixel, src->row(0));
    cv::Mat out(src->height(), src->width(), pixel, dst->row(0));
    as_written::blur(in, out, ksize, type, 20, 20);
  });
}

void add_holes(const std::string& name, const Image& src) {
  const Image dst = like(src);
  const std::string operation = "fill holes, " + name;
  bench::add_morvik(operation, size_of(src), traffic_of(src),
                    [=] { mvk_make_up_holes(dst->get(), src->get(), 127); });
  bench::add(operation, size_of(src), kAsWritten, [=] {
    as_written::write_back(*dst, as_written::fill_holes(as_written::block(*src), 127));
  });
}

void add_area(bench::Size size) {
  const Image image = share(TestImage(QX_FMT_GRAY, size.width, size.height));
  std::vector<cv::Point> contour;
  std::vector<TPOINT> points;
  test::Random random(1);
  for (int i = 0; i < 200; ++i) {
    contour.emplace_back(random.range(0, size.width), random.range(0, size.height));
    points.push_back({contour.back().x, contour.back().y});
  }
  bench::add_morvik("fill area, 200 points", size, {0, bench::bytes_of(*image)}, [=] {
    mvk_fill_area_up(image->get(), static_cast<uint32_t>(points.size()), points.data());
  });
  bench::add("fill area, 200 points", size, kAsWritten, [=] {
    as_written::write_back(*image, as_written::fill_area(size.width, size.height, contour));
  });
}

void add_roi(const std::string& name, const Image& image) {
  const auto rect = std::make_shared<MKRect>();
  const std::string operation = "bounding box, " + name;
  bench::add_morvik(operation, size_of(image), {bench::bytes_of(*image), 0},
                    [=] { mvk_get_mask_roi(image->get(), rect.get(), 127); });
  bench::add(operation, size_of(image), "plain loop",
             [=] { benchmark::DoNotOptimize(as_written::box(*image, 127)); });
}

void add_samples(bench::Size size) {
  const Image coarse = share(test::sample_mask(kUntidy));
  const Image mask = scaled(kUntidy, size);
  for (const uint32_t limit : {640U, 1024U}) {
    if (limit >= static_cast<uint32_t>(size.width)) continue;
    for (const uint32_t mode : {0U, 1U}) add_mask_smooth("photographer", coarse, size, mode, limit);
  }
  add_mask_smooth("photographer", coarse, size, 0, 65535);
  for (const int amount : {8, -8, 20, -20, 50, -50, 100, -100, 200, -200}) {
    add_morph("photographer", mask, amount);
  }
  for (const int ksize : {3, 5, 9, 15, 25, 51, 199}) {
    add_smooth("soft photographer", soft(kUntidy, size), ksize, MKBlur::Median);
  }
  add_holes("photographer", mask);
  add_area(size);
  add_roi("photographer", mask);
}

void add_full_hd() {
  for (const char* name : {"collins", "hopper"}) {
    const std::string file = std::string(name) + "_mask_256x256.png";
    const Image coarse = share(test::sample_mask(file));
    const Image mask = scaled(file, kFullHd);
    for (const uint32_t limit : {640U, 1024U, 65535U}) {
      for (const uint32_t mode : {0U, 1U}) add_mask_smooth(name, coarse, kFullHd, mode, limit);
    }
    add_holes(name, mask);
    add_roi(name, mask);
    for (const int ksize : {3, 5, 25}) add_smooth(name, mask, ksize, MKBlur::Median);
  }
  const Image mask = scaled(kUntidy, kFullHd);
  for (const int ksize : {3, 5}) add_smooth("photographer", mask, ksize, MKBlur::Median);
  const Image colour = photo(kFullHd);
  const Image gray = share(TestImage(QX_FMT_GRAY, kFullHd.width, kFullHd.height));
  mvk_convert(gray->get(), colour->get());
  for (const MKBlur type : {MKBlur::Mean, MKBlur::Gaussian}) {
    for (const int ksize : {3, 5, 9, 25, 99, 199}) add_smooth("photographer", mask, ksize, type);
    for (const int ksize : {3, 5, 7, 9, 15, 25, 51, 99, 199}) {
      add_smooth("a photograph", colour, ksize, type);
      add_smooth("a gray photograph", gray, ksize, type);
    }
  }
  for (const int ksize : {3, 5, 7, 13, 25, 27, 99, 199}) {
    add_smooth("a photograph", colour, ksize, MKBlur::Median);
    add_smooth("a gray photograph", gray, ksize, MKBlur::Median);
  }
  add_smooth("photographer", mask, 9, MKBlur::Bilateral);
  for (const int ksize : {5, 9, 15, 25}) {
    add_smooth("a photograph", colour, ksize, MKBlur::Bilateral);
    add_smooth("a gray photograph", gray, ksize, MKBlur::Bilateral);
  }
}

void add_worst_cases() {
  static constexpr std::array<std::pair<Kind, const char*>, 6> kKinds{
      {{Kind::Noise, "noise"},
       {Kind::Specks, "specks"},
       {Kind::Dense, "dense noise"},
       {Kind::Checker, "checkerboard"},
       {Kind::Gradient, "gradient"},
       {Kind::Soft, "all soft"}}};
  for (const auto& [kind, name] : kKinds) {
    const Image mask = share(test::make_mask(kind, kFullHd.width, kFullHd.height));
    const Image coarse = share(test::make_mask(kind, 256, 256));
    for (const uint32_t limit : {640U, 65535U}) {
      add_mask_smooth(name, coarse, kFullHd, 1, limit);
    }
    for (const int amount : {3, 8, 50}) add_morph(name, mask, amount);
    for (const int ksize : {3, 5, 7, 25, 99}) {
      for (const MKBlur type : {MKBlur::Mean, MKBlur::Median, MKBlur::Gaussian}) {
        add_smooth(name, mask, ksize, type);
      }
    }
    // OpenCV's contours of noise take seconds at full size.
    add_holes(name, share(test::make_mask(kind, 480, 270)));
  }
}

const bool registered = [] {
  for (const bench::Size size : bench::kSizes) add_samples(size);
  add_full_hd();
  add_worst_cases();
  return true;
}();

}  // namespace
