// An image in exactly sized, guarded memory: the guards around each plane are checked at the end,
// AddressSanitizer catches accesses outside a plane, and whole planes can be compared, padding
// included.
#pragma once

#include <cstdint>
#include <ostream>
#include <vector>

#include "morvik/morvik.h"

namespace test {

// Reproducible pseudo-random numbers (xorshift); the same on every platform.
class Random {
 public:
  explicit Random(uint64_t seed) : state_(seed * 0x9E3779B97F4A7C15u + 1) {}
  uint32_t next() {
    state_ ^= state_ << 13;
    state_ ^= state_ >> 7;
    state_ ^= state_ << 17;
    return static_cast<uint32_t>(state_ >> 32);
  }
  int range(int low, int high) {  // both ends included
    const auto count = static_cast<uint32_t>(int64_t{high} - low + 1);
    return static_cast<int>(low + int64_t{next() % count});
  }

 private:
  uint64_t state_;
};

class TestImage {
 public:
  // Planes of pitch * rows random bytes, padding included. The pitch is the length of a row plus
  // the plane's padding; chroma planes have the rounded-up size.
  TestImage(uint32_t format, int width, int height, int padding0 = 0, int padding1 = 0,
            uint64_t seed = 1);
  TestImage(TestImage&&) = default;
  TestImage& operator=(TestImage&&) = default;
  ~TestImage();  // reports a test failure if a guard was overwritten

  // A GRAY image with the given rows.
  static TestImage gray(int width, int height, const std::vector<uint8_t>& pixels);

  TestImage clone() const;

  // For the functions under test.
  QX_OFFSCREEN* get() { return &descriptor_; }
  const QX_OFFSCREEN* get() const { return &descriptor_; }
  QX_OFFSCREEN& descriptor() { return descriptor_; }
  const QX_OFFSCREEN& descriptor() const { return descriptor_; }
  operator const QX_OFFSCREEN&() const { return descriptor_; }

  int width() const { return descriptor_.width; }
  int height() const { return descriptor_.height; }
  uint8_t* row(int y, int plane = 0);
  const uint8_t* row(int y, int plane = 0) const;
  size_t plane_size(int plane = 0) const;
  void fill(uint8_t value);

  // Every byte of every plane, padding included.
  friend bool operator==(const TestImage& a, const TestImage& b) { return a.planes_ == b.planes_; }
  friend std::ostream& operator<<(std::ostream& out, const TestImage& image);

 private:
  TestImage() = default;
  void add_plane(int rows);

  QX_OFFSCREEN descriptor_{};
  std::vector<std::vector<uint8_t>> planes_;  // each between two guards
};

// Sizes that every operation is tried on: 1, 2, odd, even, wide, tall, longer than a vector.
struct Shape {
  int width;
  int height;
};
extern const std::vector<Shape> kShapes;

// The six format codes, and the name of one.
extern const std::vector<uint32_t> kFormats;
const char* format_name(uint32_t format);

}  // namespace test
