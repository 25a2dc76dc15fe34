// Image operations against the calls that do the same.
#include <libyuv.h>

#include <cstring>
#include <memory>
#include <opencv2/imgproc.hpp>

#include "bench.h"
#include "support/test_image.h"

namespace {

using bench::Size;
using test::TestImage;

// The images of one comparison; shared by its contestants.
struct Images {
  TestImage dst;
  TestImage src;
  std::vector<uint8_t> scratch;  // for peers that need more planes
};
using Pair = std::shared_ptr<Images>;

bench::Traffic traffic_of(const Images& images) {
  return {bench::bytes_of(images.src), bench::bytes_of(images.dst)};
}

Pair make_pair(Size size, uint32_t dst_format, uint32_t src_format, bool is_turned = false,
               int padding = 0) {
  const int width = is_turned ? size.height : size.width;
  const int height = is_turned ? size.width : size.height;
  return std::make_shared<Images>(Images{
      TestImage(dst_format, width, height, padding, padding, 2),
      TestImage(src_format, size.width, size.height, padding, padding, 1),
      std::vector<uint8_t>(size_t{4} * static_cast<size_t>(width) * static_cast<size_t>(height))});
}

cv::Mat mat(TestImage& image, int plane, int type) {
  const int shift = plane == 0 ? 0 : 1;
  return {image.height() >> shift, image.width() >> shift, type, image.row(0, plane),
          static_cast<size_t>(image.descriptor().pitch[plane])};
}

std::string format(uint32_t code) { return test::format_name(code); }

void add_rotation(Size size, uint32_t code, int angle) {
  const Pair pair = make_pair(size, code, code, angle != 180);
  const std::string name = "turn " + std::to_string(angle) + ' ' + format(code);
  bench::add_morvik(name, size, traffic_of(*pair),
                    [=] { mvk_rotate(pair->dst.get(), pair->src.get(), angle); });
  const auto mode = static_cast<libyuv::RotationMode>(angle);
  QX_OFFSCREEN& s = pair->src.descriptor();
  QX_OFFSCREEN& d = pair->dst.descriptor();
  if (code == QX_FMT_GRAY) {
    bench::add(name, size, "libyuv::RotatePlane", [=] {
      libyuv::RotatePlane(s.plane[0], s.pitch[0], d.plane[0], d.pitch[0], s.width, s.height, mode);
    });
  }
  if (code == QX_FMT_ARGB && angle != 180) {
    bench::add(name, size, "libyuv::ARGBRotate", [=] {
      libyuv::ARGBRotate(s.plane[0], s.pitch[0], d.plane[0], d.pitch[0], s.width, s.height, mode);
    });
  }
  if (code == QX_FMT_NV21) {
    bench::add(name, size, "libyuv::NV12ToI420Rotate", [=] {
      uint8_t* u = pair->scratch.data();
      uint8_t* v = u + d.width * d.height / 4;
      libyuv::NV12ToI420Rotate(s.plane[0], s.pitch[0], s.plane[1], s.pitch[1], d.plane[0],
                               d.pitch[0], u, d.width / 2, v, d.width / 2, s.width, s.height, mode);
    });
  }
  if (code == QX_FMT_ARGB || code == QX_FMT_RGB24 || code == QX_FMT_GRAY) {
    const int type = code == QX_FMT_ARGB ? CV_8UC4 : code == QX_FMT_RGB24 ? CV_8UC3 : CV_8UC1;
    const int cv_code = angle / 90 - 1;  // cv::ROTATE_90_CLOCKWISE and so on
    bench::add(name, size, "cv::rotate", [=] {
      cv::Mat result = mat(pair->dst, 0, type);
      cv::rotate(mat(pair->src, 0, type), result, cv_code);
    });
  }
}

// What a user would write; compiled with the flags of this build.
void mean_of_three(const TestImage& src, TestImage& dst, int step) {
  for (int y = 0; y < src.height(); ++y) {
    const uint8_t* in = src.row(y);
    uint8_t* out = dst.row(y);
    for (int x = 0; x < src.width(); ++x) {
      const int sum = in[x * step] + in[x * step + 1] + in[x * step + 2];
      out[x] = static_cast<uint8_t>(sum / 3);
    }
  }
}

template <typename Peer>
void add_conversion(Size size, uint32_t to, uint32_t from, const std::string& who, Peer peer) {
  const Pair pair = make_pair(size, to, from);
  const std::string name = format(to) + " <- " + format(from);
  bench::add_morvik(name, size, traffic_of(*pair),
                    [=] { mvk_convert(pair->dst.get(), pair->src.get()); });
  bench::add(name, size, who, [=] { peer(*pair); });
}

template <auto Function>
void packed(Images& images) {
  const QX_OFFSCREEN& d = images.dst.descriptor();
  const QX_OFFSCREEN& s = images.src.descriptor();
  Function(s.plane[0], s.pitch[0], d.plane[0], d.pitch[0], d.width, d.height);
}
template <auto Function>
void from_nv(Images& images) {
  const QX_OFFSCREEN& d = images.dst.descriptor();
  const QX_OFFSCREEN& s = images.src.descriptor();
  Function(s.plane[0], s.pitch[0], s.plane[1], s.pitch[1], d.plane[0], d.pitch[0], d.width,
           d.height);
}
template <auto Function>
void to_nv(Images& images) {
  const QX_OFFSCREEN& d = images.dst.descriptor();
  const QX_OFFSCREEN& s = images.src.descriptor();
  Function(s.plane[0], s.pitch[0], d.plane[0], d.pitch[0], d.plane[1], d.pitch[1], d.width,
           d.height);
}
template <auto Function>
void rgb24_to_nv(Images& images) {
  const QX_OFFSCREEN& d = images.dst.descriptor();
  const QX_OFFSCREEN& s = images.src.descriptor();
  std::vector<uint8_t> argb(images.scratch.size());
  libyuv::RGB24ToARGB(s.plane[0], s.pitch[0], argb.data(), 4 * d.width, d.width, d.height);
  Function(argb.data(), 4 * d.width, d.plane[0], d.pitch[0], d.plane[1], d.pitch[1], d.width,
           d.height);
}
void swap_uv(Images& images) {
  const QX_OFFSCREEN& d = images.dst.descriptor();
  const QX_OFFSCREEN& s = images.src.descriptor();
  libyuv::NV21ToNV12(s.plane[0], s.pitch[0], s.plane[1], s.pitch[1], d.plane[0], d.pitch[0],
                     d.plane[1], d.pitch[1], d.width, d.height);
}

void add_gray_conversions(Size size) {
  add_conversion(size, QX_FMT_GRAY, QX_FMT_RGB24, "plain loop",
                 [](Images& images) { mean_of_three(images.src, images.dst, 3); });
  add_conversion(size, QX_FMT_GRAY, QX_FMT_ARGB, "plain loop",
                 [](Images& images) { mean_of_three(images.src, images.dst, 4); });
  add_conversion(size, QX_FMT_RGB24, QX_FMT_GRAY, "cv::cvtColor", [](Images& images) {
    cv::Mat result = mat(images.dst, 0, CV_8UC3);
    cv::cvtColor(mat(images.src, 0, CV_8UC1), result, cv::COLOR_GRAY2BGR);
  });
  add_conversion(size, QX_FMT_ARGB, QX_FMT_GRAY, "cv::cvtColor", [](Images& images) {
    cv::Mat result = mat(images.dst, 0, CV_8UC4);
    cv::cvtColor(mat(images.src, 0, CV_8UC1), result, cv::COLOR_GRAY2BGRA);
  });
}

void add_colour_conversions(Size size) {
  const struct {
    uint32_t to;
    uint32_t from;
    void (*peer)(Images& images);
  } kRows[]{
      {QX_FMT_RGB24, QX_FMT_ARGB, packed<libyuv::ARGBToRGB24>},
      {QX_FMT_RGB24, QX_FMT_NV12, from_nv<libyuv::NV12ToRGB24>},
      {QX_FMT_RGB24, QX_FMT_NV21, from_nv<libyuv::NV21ToRGB24>},
      {QX_FMT_ARGB, QX_FMT_RGB24, packed<libyuv::RGB24ToARGB>},
      {QX_FMT_ARGB, QX_FMT_NV12, from_nv<libyuv::NV12ToARGB>},
      {QX_FMT_ARGB, QX_FMT_NV21, from_nv<libyuv::NV21ToARGB>},
      {QX_FMT_ABGR, QX_FMT_NV12, from_nv<libyuv::NV12ToABGR>},
      {QX_FMT_ABGR, QX_FMT_NV21, from_nv<libyuv::NV21ToABGR>},
      {QX_FMT_NV12, QX_FMT_RGB24, rgb24_to_nv<libyuv::ARGBToNV12>},
      {QX_FMT_NV12, QX_FMT_ARGB, to_nv<libyuv::ARGBToNV12>},
      {QX_FMT_NV12, QX_FMT_ABGR, to_nv<libyuv::ABGRToNV12>},
      {QX_FMT_NV12, QX_FMT_NV21, swap_uv},
      {QX_FMT_NV21, QX_FMT_RGB24, rgb24_to_nv<libyuv::ARGBToNV21>},
      {QX_FMT_NV21, QX_FMT_ARGB, to_nv<libyuv::ARGBToNV21>},
      {QX_FMT_NV21, QX_FMT_ABGR, to_nv<libyuv::ABGRToNV21>},
      {QX_FMT_NV21, QX_FMT_NV12, swap_uv},
  };
  for (const auto& [to, from, peer] : kRows) add_conversion(size, to, from, "libyuv", peer);
}

void add_copy(Size size, uint32_t code, int padding) {
  const Pair pair = make_pair(size, code, code, false, padding);
  const std::string name = (padding != 0 ? "copy padded " : "copy packed ") + format(code);
  bench::add_morvik(name, size, traffic_of(*pair),
                    [=] { mvk_copy(pair->dst.get(), pair->src.get()); });
  bench::add(name, size, "memcpy", [=] {
    const QX_OFFSCREEN& s = pair->src.descriptor();
    if (padding == 0) {
      std::memcpy(pair->dst.row(0), pair->src.row(0), pair->src.plane_size());
      return;
    }
    const auto row_bytes = static_cast<size_t>(s.pitch[0] - padding);
    for (int y = 0; y < s.height; ++y) std::memcpy(pair->dst.row(y), pair->src.row(y), row_bytes);
  });
}

void add_resize(Size size, uint32_t code, uint32_t method) {
  constexpr const char* kMethods[]{"nearest", "linear", "cubic", "area"};
  const bool is_photo = size.width > 4000;
  const Size to = is_photo ? Size{1920, 1440} : Size{size.width * 2 / 3, size.height * 2 / 3};
  const Pair pair = make_pair(to, code, code);
  pair->src = TestImage(code, size.width, size.height);
  const std::string name = std::string("resize ") + kMethods[method] + ' ' + format(code);
  const auto scale = [=](int plane, int type) {
    cv::Mat result = mat(pair->dst, plane, type);
    cv::resize(mat(pair->src, plane, type), result, result.size(), 0, 0, static_cast<int>(method));
  };
  bench::add_morvik(name, size, traffic_of(*pair),
                    [=] { mvk_resize(pair->dst.get(), pair->src.get(), method); });
  bench::add(name, size, "cv::resize", [=] {
    if (code == QX_FMT_NV21) {
      scale(0, CV_8UC1);
      scale(1, CV_8UC2);
    } else {
      scale(0, code == QX_FMT_GRAY ? CV_8UC1 : code == QX_FMT_RGB24 ? CV_8UC3 : CV_8UC4);
    }
  });
}

// A coarse mask to a frame's size: a disk, so that most of it is flat.
void add_enlargement() {
  const auto mask = std::make_shared<TestImage>(QX_FMT_GRAY, 256, 256);
  const auto frame = std::make_shared<TestImage>(QX_FMT_GRAY, 1920, 1080);
  cv::Mat from = mat(*mask, 0, CV_8UC1);
  from.setTo(0);
  cv::circle(from, {128, 128}, 80, 255, cv::FILLED, cv::LINE_AA);
  const Size size{1920, 1080};
  bench::add_morvik("resize linear mask", size, {bench::bytes_of(*mask), bench::bytes_of(*frame)},
                    [=] { mvk_resize(frame->get(), mask->get(), MVK_RESIZE_LINEAR); });
  bench::add("resize linear mask", size, "cv::resize", [=] {
    cv::Mat result = mat(*frame, 0, CV_8UC1);
    cv::resize(mat(*mask, 0, CV_8UC1), result, result.size(), 0, 0, cv::INTER_LINEAR);
  });
}

const bool kRegistered = [] {
  add_enlargement();
  for (const Size size : bench::kSizes) {
    for (const uint32_t code : {QX_FMT_GRAY, QX_FMT_RGB24, QX_FMT_ARGB, QX_FMT_NV21}) {
      for (const int angle : {90, 270, 180}) add_rotation(size, code, angle);
    }
    add_gray_conversions(size);
    add_colour_conversions(size);
    for (const uint32_t code : {QX_FMT_GRAY, QX_FMT_RGB24, QX_FMT_ARGB}) {
      add_copy(size, code, 0);
      add_copy(size, code, 64);
    }
    for (const uint32_t code : {QX_FMT_GRAY, QX_FMT_RGB24, QX_FMT_ARGB, QX_FMT_NV21}) {
      for (uint32_t method = 0; method < 4; ++method) add_resize(size, code, method);
    }
  }
  return true;
}();

}  // namespace
