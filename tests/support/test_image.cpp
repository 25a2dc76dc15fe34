#include "support/test_image.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>

#include "core/format.h"

#if defined(__SANITIZE_ADDRESS__)
#define MORVIK_TEST_ASAN 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define MORVIK_TEST_ASAN 1
#endif
#endif
#ifdef MORVIK_TEST_ASAN
#include <sanitizer/asan_interface.h>
#else
#define ASAN_POISON_MEMORY_REGION(address, size) ((void)(address), (void)(size))
#define ASAN_UNPOISON_MEMORY_REGION(address, size) ((void)(address), (void)(size))
#endif

namespace test {
namespace {

constexpr uint8_t kGuardByte = 0xA5;

}  // namespace

GuardedBytes::GuardedBytes(size_t size) : size_(size), memory_(new uint8_t[size + 2 * kGuard]) {
  std::memset(memory_.get(), kGuardByte, size + 2 * kGuard);
  ASAN_POISON_MEMORY_REGION(memory_.get(), kGuard);
  ASAN_POISON_MEMORY_REGION(memory_.get() + kGuard + size, kGuard);
}

GuardedBytes::~GuardedBytes() {
  if (!memory_) return;
  ASAN_UNPOISON_MEMORY_REGION(memory_.get(), size_ + 2 * kGuard);
  const auto is_guard = [](uint8_t byte) { return byte == kGuardByte; };
  const uint8_t* front = memory_.get();
  const uint8_t* back = data() + size_;
  EXPECT_TRUE(std::all_of(front, front + kGuard, is_guard)) << "bytes in front were written";
  EXPECT_TRUE(std::all_of(back, back + kGuard, is_guard)) << "bytes behind were written";
}

TestImage::TestImage(uint32_t format, int width, int height, int padding0, int padding1,
                     uint64_t seed) {
  descriptor_.format = format;
  descriptor_.width = width;
  descriptor_.height = height;
  descriptor_.pitch[0] = width * kel::imageprocess::bytes_per_pixel(format) + padding0;
  planes_.emplace_back(static_cast<size_t>(descriptor_.pitch[0]) * static_cast<size_t>(height));
  if (kel::imageprocess::is_two_plane(format)) {
    descriptor_.pitch[1] = ((width + 1) & ~1) + padding1;
    planes_.emplace_back(static_cast<size_t>(descriptor_.pitch[1]) *
                         static_cast<size_t>((height + 1) / 2));
  }
  for (size_t i = 0; i < planes_.size(); ++i) descriptor_.plane[i] = planes_[i].data();
  fill_random(seed);
}

TestImage TestImage::gray(int width, int height, const std::vector<uint8_t>& pixels) {
  TestImage image(QX_FMT_GRAY, width, height);
  std::copy(pixels.begin(), pixels.end(), image.row(0));
  return image;
}

TestImage TestImage::clone() const {
  TestImage copy(descriptor_.format, width(), height());
  copy.descriptor_ = descriptor_;
  copy.planes_.clear();
  for (size_t i = 0; i < planes_.size(); ++i) {
    copy.planes_.emplace_back(planes_[i].size());
    std::copy_n(planes_[i].data(), planes_[i].size(), copy.planes_[i].data());
    copy.descriptor_.plane[i] = copy.planes_[i].data();
  }
  return copy;
}

uint8_t* TestImage::row(int y, int plane) {
  return planes_[static_cast<size_t>(plane)].data() +
         static_cast<ptrdiff_t>(y) * descriptor_.pitch[plane];
}

const uint8_t* TestImage::row(int y, int plane) const {
  return const_cast<TestImage*>(this)->row(y, plane);
}

void TestImage::fill(uint8_t value) {
  for (GuardedBytes& plane : planes_) std::memset(plane.data(), value, plane.size());
}

void TestImage::fill_random(uint64_t seed) {
  Random random(seed);
  for (GuardedBytes& plane : planes_) {
    for (size_t i = 0; i < plane.size(); ++i) plane.data()[i] = static_cast<uint8_t>(random.next());
  }
}

bool operator==(const TestImage& a, const TestImage& b) {
  if (a.planes_.size() != b.planes_.size()) return false;
  for (size_t i = 0; i < a.planes_.size(); ++i) {
    const GuardedBytes& left = a.planes_[i];
    const GuardedBytes& right = b.planes_[i];
    if (!std::equal(left.data(), left.data() + left.size(), right.data(),
                    right.data() + right.size())) {
      return false;
    }
  }
  return true;
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
