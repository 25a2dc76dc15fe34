#include "support/test_image.h"

#include <gtest/gtest.h>

#include <algorithm>

#include "core/format.h"

namespace test {
namespace {

constexpr ptrdiff_t kGuard = MORVIK_TEST_GUARD;
constexpr size_t kGuards = 2 * kGuard;
constexpr uint8_t kGuardByte = 0xA5;

}  // namespace

TestImage::TestImage(uint32_t format, int width, int height, int padding0, int padding1,
                     uint64_t seed) {
  const bool two_plane = kel::imageprocess::is_two_plane(format);
  const int row_bytes = width * kel::imageprocess::bytes_per_pixel(format);
  descriptor_ = {format, width, height, {}, {row_bytes + padding0}};
  if (two_plane) descriptor_.pitch[1] = ((width + 1) & ~1) + padding1;
  add_plane(height);
  if (two_plane) add_plane((height + 1) / 2);
  Random random(seed);
  for (std::vector<uint8_t>& plane : planes_) {
    std::generate(plane.begin() + kGuard, plane.end() - kGuard,
                  [&random] { return static_cast<uint8_t>(random.next()); });
  }
}

void TestImage::add_plane(int rows) {
  const size_t index = planes_.size();
  const size_t size = static_cast<size_t>(descriptor_.pitch[index]) * static_cast<size_t>(rows);
  planes_.emplace_back(size + kGuards, kGuardByte);
  descriptor_.plane[index] = planes_[index].data() + kGuard;
}

TestImage::~TestImage() {
  for (std::vector<uint8_t>& plane : planes_) {
    plane.erase(plane.begin() + kGuard, plane.end() - kGuard);
    EXPECT_EQ(plane, std::vector<uint8_t>(kGuards, kGuardByte)) << "guards were written";
  }
}

TestImage TestImage::gray(int width, int height, const std::vector<uint8_t>& pixels) {
  TestImage image(QX_FMT_GRAY, width, height);
  std::copy(pixels.begin(), pixels.end(), image.row(0));
  return image;
}

TestImage TestImage::clone() const {
  TestImage copy;
  copy.descriptor_ = descriptor_;
  copy.planes_ = planes_;
  for (size_t i = 0; i < planes_.size(); ++i) {
    copy.descriptor_.plane[i] = copy.planes_[i].data() + kGuard;
  }
  return copy;
}

uint8_t* TestImage::row(int y, int plane) {
  return planes_[static_cast<size_t>(plane)].data() + kGuard +
         static_cast<ptrdiff_t>(y) * descriptor_.pitch[plane];
}

const uint8_t* TestImage::row(int y, int plane) const {
  return const_cast<TestImage*>(this)->row(y, plane);
}

size_t TestImage::plane_size(int plane) const {
  return planes_[static_cast<size_t>(plane)].size() - kGuards;
}

void TestImage::fill(uint8_t value) {
  for (auto& plane : planes_) std::fill(plane.begin() + kGuard, plane.end() - kGuard, value);
}

std::ostream& operator<<(std::ostream& out, const TestImage& image) {
  return out << format_name(image.descriptor().format) << ' ' << image.width() << 'x'
             << image.height() << " pitch " << image.descriptor().pitch[0] << '/'
             << image.descriptor().pitch[1];
}

const std::vector<Shape> kShapes{{1, 1},  {2, 2},  {1, 7},  {7, 1},   {3, 2},   {5, 3},  {7, 5},
                                 {8, 8},  {15, 4}, {16, 9}, {17, 17}, {31, 33}, {32, 6}, {33, 16},
                                 {64, 3}, {65, 7}, {3, 67}, {127, 2}, {130, 35}};

const std::vector<uint32_t> kFormats{QX_FMT_RGB24, QX_FMT_ARGB, QX_FMT_ABGR,
                                     QX_FMT_GRAY,  QX_FMT_NV12, QX_FMT_NV21};

const char* format_name(uint32_t format) {
  const kel::imageprocess::FormatTraits* traits = kel::imageprocess::find_format(format);
  return traits != nullptr ? traits->name : "unknown format";
}

}  // namespace test
