// Images above 2^31 bytes: offsets do not fit 32 bits. Copies and rotations are compared pixel by
// pixel with the pattern they were given, conversions, scaling and smoothing with the same call on
// bands of rows. Needs some 8 GB of memory; scripts/test-large.sh runs it.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <memory>

#include "core/format.h"
#include "support/test_image.h"

namespace {

constexpr int64_t kTwoGiB = int64_t{1} << 31;

uint8_t pattern(int64_t index) {
  const uint64_t mixed = static_cast<uint64_t>(index) * 0x9E3779B97F4A7C15u;
  return static_cast<uint8_t>(mixed >> 56);
}

struct Image {
  QX_OFFSCREEN descriptor{};
  std::unique_ptr<uint8_t[]> planes[2];

  Image(uint32_t format, int width, int height)
      : descriptor{
            format, width, height, {}, {width * kel::imageprocess::bytes_per_pixel(format)}} {
    add_plane(0, height);
    if (kel::imageprocess::is_two_plane(format)) {
      descriptor.pitch[1] = width;
      add_plane(1, height / 2);
    }
  }
  uint8_t* row(int64_t y, int plane = 0) const {
    return planes[plane].get() + y * descriptor.pitch[plane];
  }
  void fill() {
    for (int plane = 0; plane < 2 && planes[plane] != nullptr; ++plane) {
      const int64_t size = int64_t{descriptor.pitch[plane]} * (descriptor.height >> plane);
      for (int64_t i = 0; i < size; ++i) planes[plane][static_cast<size_t>(i)] = pattern(i);
    }
  }
  // Some of its rows, an even number from an even one on, as an image.
  QX_OFFSCREEN band(int64_t y, int rows) const {
    QX_OFFSCREEN part = descriptor;
    part.height = rows;
    part.plane[0] = row(y);
    if (planes[1] != nullptr) part.plane[1] = row(y / 2, 1);
    return part;
  }

 private:
  void add_plane(int plane, int rows) {
    const size_t size = static_cast<size_t>(descriptor.pitch[plane]) * static_cast<size_t>(rows);
    planes[plane] = std::make_unique_for_overwrite<uint8_t[]>(size);
    descriptor.plane[plane] = planes[plane].get();
  }
};

// A side, whole numbers of thirds and pairs, with which an image of this format passes 2^31 bytes.
int large_side(uint32_t format) {
  const double pixels = static_cast<double>(kTwoGiB) / kel::imageprocess::bytes_per_pixel(format);
  return (static_cast<int>(std::sqrt(pixels)) / 192 + 1) * 192;
}

// Rows [y, y + rows) of `large` are those of `small` from row `first` on.
void expect_band(const Image& large, int64_t y, int rows, const Image& small, int first) {
  for (int plane = 0; plane < 2 && large.planes[plane] != nullptr; ++plane) {
    const size_t bytes = static_cast<size_t>(large.descriptor.pitch[plane] * (rows >> plane));
    EXPECT_EQ(std::memcmp(large.row(y >> plane, plane), small.row(first >> plane, plane), bytes), 0)
        << test::format_name(large.descriptor.format) << " from row " << y << " of plane " << plane;
  }
}

TEST(Large, CopiesAndRotations) {
  for (const uint32_t format : {QX_FMT_GRAY, QX_FMT_RGB24, QX_FMT_ARGB}) {
    const int64_t pixel = kel::imageprocess::bytes_per_pixel(format);
    const int64_t side = large_side(format);
    Image src(format, static_cast<int>(side), static_cast<int>(side));
    const Image dst(format, static_cast<int>(side), static_cast<int>(side));
    src.fill();
    const auto expect_from = [&](const char* call, int64_t start, int64_t step_x, int64_t step_y) {
      int64_t wrong = 0;
      for (int64_t y = 0; y < side; ++y) {
        for (int64_t i = 0; i < side * pixel; ++i) {
          const int64_t from = start + i / pixel * step_x + y * step_y;
          wrong += dst.row(y)[i] != pattern(from * pixel + i % pixel) ? 1 : 0;
        }
      }
      EXPECT_EQ(wrong, 0) << call << ' ' << test::format_name(format);
    };
    EXPECT_EQ(mvk_copy(&dst.descriptor, &src.descriptor), MVK_OK);
    expect_from("copy", 0, 1, side);
    EXPECT_EQ(mvk_rotate(&dst.descriptor, &src.descriptor, 90), MVK_OK);
    expect_from("90", (side - 1) * side, -side, 1);
    EXPECT_EQ(mvk_rotate(&dst.descriptor, &src.descriptor, 180), MVK_OK);
    expect_from("180", side * side - 1, -1, -side);
    EXPECT_EQ(mvk_rotate(&dst.descriptor, &src.descriptor, 270), MVK_OK);
    expect_from("270", side - 1, side, -1);
  }
}

TEST(Large, Conversions) {
  constexpr int kRows = 32;
  for (const uint32_t from : test::kFormats) {
    for (const uint32_t to : test::kFormats) {
      if (from == to || from == QX_FMT_ABGR || to == QX_FMT_ABGR) continue;
      const int side = std::min(large_side(from), large_side(to));
      Image src(from, side, side);
      Image dst(to, side, side);
      src.fill();
      dst.fill();
      EXPECT_EQ(mvk_convert(&dst.descriptor, &src.descriptor), MVK_OK);
      for (const int y : {0, side / 2, side - kRows}) {
        Image small(to, side, kRows);
        const QX_OFFSCREEN rows = src.band(y, kRows);
        // The first chroma byte of a row keeps its value in NV12 <- GRAY.
        if (to == QX_FMT_NV12) std::memcpy(small.row(0, 1), dst.row(y / 2, 1), 1);
        EXPECT_EQ(mvk_convert(&small.descriptor, &rows), MVK_OK);
        expect_band(dst, y, kRows, small, 0);
      }
    }
  }
}

TEST(Large, BoundingBox) {
  const int side = large_side(QX_FMT_GRAY);
  const Image image(QX_FMT_GRAY, side, side);
  std::memset(image.row(0), 0, static_cast<size_t>(side) * static_cast<size_t>(side));
  image.row(side - 2)[5] = 200;
  image.row(side - 7)[side - 3] = 200;
  MKRect box{};
  EXPECT_EQ(mvk_get_mask_roi(&image.descriptor, &box, 100), MVK_OK);
  const auto last = static_cast<uint32_t>(side - 1);
  EXPECT_TRUE(box.left == 5 && box.top == last - 6 && box.right == last - 2 &&
              box.bottom == last - 1)
      << box.left << ',' << box.top << ' ' << box.right << ',' << box.bottom;
}

TEST(Large, Scaling) {
  constexpr int kRows = 32;
  constexpr int kReach = 16;                             // more rows than any method looks at
  constexpr int kSides[][2] = {{6, 3}, {6, 4}, {3, 6}};  // in sixths of the larger one
  for (const uint32_t format : {QX_FMT_GRAY, QX_FMT_RGB24, QX_FMT_ARGB, QX_FMT_NV21}) {
    for (const auto [from, to] : kSides) {
      const int sixth = large_side(format) / 6;
      Image src(format, from * sixth, from * sixth);
      Image dst(format, to * sixth, to * sixth);
      src.fill();
      const int side = dst.descriptor.width;
      const auto in_src = [from, to](int rows) { return rows * from / to; };
      for (uint32_t method = MVK_RESIZE_NEAREST; method <= MVK_RESIZE_AREA; ++method) {
        SCOPED_TRACE(method);
        EXPECT_EQ(mvk_resize(&dst.descriptor, &src.descriptor, method), MVK_OK);
        for (const int y : {0, side / 2, side - kRows}) {
          const int above = std::min(y, kReach);
          const int rows = above + kRows + std::min(side - kRows - y, kReach);
          const Image small(format, side, rows);
          const QX_OFFSCREEN band = src.band(in_src(y - above), in_src(rows));
          EXPECT_EQ(mvk_resize(&small.descriptor, &band, method), MVK_OK);
          expect_band(dst, y, kRows, small, above);
        }
      }
    }
  }
}

TEST(Large, Smoothing) {
  constexpr int kRows = 32;
  constexpr int kReach = 8;  // more rows than the kernel
  const int side = large_side(QX_FMT_GRAY);
  Image src(QX_FMT_GRAY, side, side);
  const Image dst(QX_FMT_GRAY, side, side);
  src.fill();
  for (const MKBlur type : {MKBlur::Mean, MKBlur::Median, MKBlur::Gaussian, MKBlur::Bilateral}) {
    const auto smooth = [type](const QX_OFFSCREEN& from, const QX_OFFSCREEN& to) {
      return mvk_smooth(&from, &to, 7, type, 7, 30, 4);
    };
    SCOPED_TRACE(static_cast<int>(type));
    EXPECT_EQ(smooth(src.descriptor, dst.descriptor), MVK_OK);
    for (const int y : {0, side / 2, side - kRows}) {
      const int above = std::min(y, kReach);
      const int rows = above + kRows + std::min(side - kRows - y, kReach);
      const Image small(QX_FMT_GRAY, side, rows);
      EXPECT_EQ(smooth(src.band(y - above, rows), small.descriptor), MVK_OK);
      expect_band(dst, y, kRows, small, above);
    }
  }
}

}  // namespace
