// A camera frame's whole way but for the network: turned upright, converted, scaled for the
// network, and the mask that comes back smoothed to the frame and outlined.
#include <libyuv.h>

#include <algorithm>
#include <memory>
#include <opencv2/imgproc.hpp>
#include <stdexcept>

#include "bench.h"
#include "reference/mask.h"
#include "reference/outline.h"
#include "support/samples.h"

namespace {

using bench::Size;
using test::TestImage;

constexpr int kNetworkSide = 256;
constexpr uint32_t kLimit = 640;
constexpr MKOutlineMode kMode{
    MK_OMODE_FILL_STROKE, MK_OCHAIN_SIMPLE, 12, MKOSmoothLevel{3}, 0, nullptr, 127};

cv::Mat mat(const TestImage& image, int type, int plane = 0) {
  const int shift = plane == 0 ? 0 : 1;
  return {image.height() >> shift, image.width() >> shift, type, image.descriptor().plane[plane]};
}

// What an app keeps from frame to frame.
struct Camera {
  TestImage frame;  // lies on its side
  TestImage upright;
  TestImage colour;
  TestImage input = TestImage(QX_FMT_RGB24, kNetworkSide, kNetworkSide);
  TestImage mask = test::sample_mask("hopper_mask_256x256.png");
  TestImage smooth;
  void* handle = mvk_outline_create();
  MKGetOutline outline{};

  explicit Camera(Size size)
      : frame(QX_FMT_NV21, size.width, size.height),
        upright(QX_FMT_NV21, size.height, size.width),
        colour(QX_FMT_RGB24, size.height, size.width),
        smooth(QX_FMT_GRAY, size.height, size.width) {
    const TestImage sample = test::sample_photo("hopper.jpg");
    cv::Mat photo = mat(colour, CV_8UC3);
    cv::resize(mat(sample, CV_8UC3), photo, photo.size());
    mvk_convert(upright.get(), colour.get());
    mvk_rotate(frame.get(), upright.get(), 270);
  }
  Camera(const Camera&) = delete;
  Camera& operator=(const Camera&) = delete;
  ~Camera() { mvk_outline_destroy(handle, &outline); }
};

// The frame and the coarse mask are read, everything else is made.
bench::Traffic traffic_of(const Camera& c) {
  using bench::bytes_of;
  return {bytes_of(c.frame) + bytes_of(c.mask),
          bytes_of(c.upright) + bytes_of(c.colour) + bytes_of(c.input) + bytes_of(c.smooth)};
}

void run_library(Camera& c) {
  mvk_rotate(c.upright.get(), c.frame.get(), 90);
  mvk_convert(c.colour.get(), c.upright.get());
  mvk_resize(c.input.get(), c.colour.get(), 1);
  mvk_make_mask_smooth(c.smooth.get(), c.mask.get(), c.colour.get(), 1, kLimit);
  mvk_outline_expansion(c.handle, c.smooth.get(), &kMode, &c.outline);
}

as_written::Outlines run_as_written(Camera& c) {
  for (const int plane : {0, 1}) {
    const int type = plane == 0 ? CV_8UC1 : CV_8UC2;
    cv::Mat to = mat(c.upright, type, plane);
    cv::rotate(mat(c.frame, type, plane), to, cv::ROTATE_90_CLOCKWISE);
  }
  const QX_OFFSCREEN& s = c.upright.descriptor();
  libyuv::NV21ToRGB24(s.plane[0], s.pitch[0], s.plane[1], s.pitch[1], c.colour.row(0),
                      c.colour.descriptor().pitch[0], s.width, s.height);
  cv::Mat input = mat(c.input, CV_8UC3);
  cv::resize(mat(c.colour, CV_8UC3), input, input.size());
  as_written::write_back(c.smooth,
                         as_written::smooth_mask(mat(c.mask, CV_8UC1), c.colour, 1, kLimit));
  return as_written::outlines(c.smooth, kMode);
}

// Both ways must have led to the same bytes.
void compare(Size size) {
  Camera a(size);
  Camera b(size);
  run_library(a);
  const as_written::Outlines outlines = run_as_written(b);
  bool same =
      a.input == b.input && a.smooth == b.smooth && a.outline.contour_count == outlines.size();
  for (size_t i = 0; same && i < outlines.size(); ++i) {
    const int32_t* points = a.outline.points[i];
    same = std::equal(points, points + size_t{2} * a.outline.point_counts[i], outlines[i].begin(),
                      outlines[i].end());
  }
  if (!same) throw std::runtime_error("the frame's results differ");
}

const bool kRegistered = [] {
  cv::setNumThreads(1);  // of this program, on both sides
  for (const Size size : bench::kSizes) {
    compare(size);
    const auto camera = std::make_shared<Camera>(size);
    const char* name = "a camera frame's whole way, one thread";
    bench::add_morvik(name, size, traffic_of(*camera), [=] { run_library(*camera); });
    bench::add(name, size, "as written", [=] { run_as_written(*camera); });
  }
  return true;
}();

}  // namespace
