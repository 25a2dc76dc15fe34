// mvk_convert: every pair of formats against libyuv's calls or loops over pixels.
#include <gtest/gtest.h>
#include <libyuv.h>

#include <algorithm>

#include "core/convert.h"
#include "core/format.h"
#include "core/kernels/nv_from_colour.h"
#include "support/judged_by_opencv.h"
#include "support/targets.h"
#include "support/test_image.h"

namespace {

using test::TestImage;
using Image = const QX_OFFSCREEN&;

template <auto Function>
void one_to_one(Image d, Image s, int w, int h) {
  Function(s.plane[0], s.pitch[0], d.plane[0], d.pitch[0], w, h);
}

template <auto Function>
void two_to_one(Image d, Image s, int w, int h) {
  Function(s.plane[0], s.pitch[0], s.plane[1], s.pitch[1], d.plane[0], d.pitch[0], w, h);
}

template <auto Function>
void one_to_two(Image d, Image s, int w, int h) {
  Function(s.plane[0], s.pitch[0], d.plane[0], d.pitch[0], d.plane[1], d.pitch[1], w, h);
}

void swap_chroma(Image d, Image s, int w, int h) {
  libyuv::NV21ToNV12(s.plane[0], s.pitch[0], s.plane[1], s.pitch[1], d.plane[0], d.pitch[0],
                     d.plane[1], d.pitch[1], w, h);
}

// libyuv takes the means of 2 x 2 pixels as expected on x86-64 only. Elsewhere the plain kernel
// judges; what that one gives is in the stored digests.
template <auto Function>
void to_nv(Image d, Image s, int w, int h) {
  if (HWY_ARCH_X86_64) return one_to_two<Function>(d, s, w, h);
  const kel::imageprocess::ColourOrder order{kel::imageprocess::bytes_per_pixel(s.format),
                                             s.format == QX_FMT_ABGR, d.format == QX_FMT_NV21};
  for (int top = 0; top < h; top += 2) {
    const int bottom = std::min(top + 1, h - 1);
    uint8_t* const y[] = {d.plane[0] + top * d.pitch[0], d.plane[0] + bottom * d.pitch[0]};
    const uint8_t* const from[] = {s.plane[0] + top * s.pitch[0], s.plane[0] + bottom * s.pitch[0]};
    kel::imageprocess::nv_from_colour_plain(y, d.plane[1] + top / 2 * d.pitch[1], from, w, order);
  }
}

template <auto Function>
void by_way_of_argb(Image d, Image s, int w, int h) {
  const TestImage whole(QX_FMT_ARGB, w, h);
  one_to_one<libyuv::RGB24ToARGB>(whole, s, w, h);
  to_nv<Function>(d, whole, w, h);
}

const struct {
  uint32_t dst;
  uint32_t src;
  void (*judge)(Image d, Image s, int w, int h);
} kColourPairs[]{
    {QX_FMT_RGB24, QX_FMT_ARGB, one_to_one<libyuv::ARGBToRGB24>},
    {QX_FMT_RGB24, QX_FMT_NV12, two_to_one<libyuv::NV12ToRGB24>},
    {QX_FMT_RGB24, QX_FMT_NV21, two_to_one<libyuv::NV21ToRGB24>},
    {QX_FMT_ARGB, QX_FMT_RGB24, one_to_one<libyuv::RGB24ToARGB>},
    {QX_FMT_ARGB, QX_FMT_NV12, two_to_one<libyuv::NV12ToARGB>},
    {QX_FMT_ARGB, QX_FMT_NV21, two_to_one<libyuv::NV21ToARGB>},
    {QX_FMT_ABGR, QX_FMT_NV12, two_to_one<libyuv::NV12ToABGR>},
    {QX_FMT_ABGR, QX_FMT_NV21, two_to_one<libyuv::NV21ToABGR>},
    {QX_FMT_NV12, QX_FMT_RGB24, by_way_of_argb<libyuv::ARGBToNV12>},
    {QX_FMT_NV12, QX_FMT_ARGB, to_nv<libyuv::ARGBToNV12>},
    {QX_FMT_NV12, QX_FMT_ABGR, to_nv<libyuv::ABGRToNV12>},
    {QX_FMT_NV12, QX_FMT_NV21, swap_chroma},
    {QX_FMT_NV21, QX_FMT_RGB24, by_way_of_argb<libyuv::ARGBToNV21>},
    {QX_FMT_NV21, QX_FMT_ARGB, to_nv<libyuv::ARGBToNV21>},
    {QX_FMT_NV21, QX_FMT_ABGR, to_nv<libyuv::ABGRToNV21>},
    {QX_FMT_NV21, QX_FMT_NV12, swap_chroma},
};

void fill_chroma(Image d, int w, int h) {
  const int first = d.format == QX_FMT_NV12 ? 1 : 0;
  const int end = h / 2 * d.pitch[1];
  for (int row = 0; row < end; row += d.pitch[1]) {
    for (int at = row + first; at < std::min(row + first + w, end); ++at) d.plane[1][at] = 128;
  }
}

void to_or_from_gray(Image d, Image s, int w, int h) {
  const int dst_bytes = kel::imageprocess::bytes_per_pixel(d.format);
  const int src_bytes = kel::imageprocess::bytes_per_pixel(s.format);
  for (int i = 0; i < w * h; ++i) {
    uint8_t* to = d.plane[0] + i / w * d.pitch[0] + i % w * dst_bytes;
    const uint8_t* from = s.plane[0] + i / w * s.pitch[0] + i % w * src_bytes;
    const int value = src_bytes == 1 ? from[0] : (from[0] + from[1] + from[2]) / 3;
    for (int k = 0; k < dst_bytes; ++k) to[k] = static_cast<uint8_t>(k < 3 ? value : 255);
  }
}

void judge(Image d, Image s) {
  Image sized = d.format == QX_FMT_RGB24 && s.plane[1] != nullptr ? s : d;
  for (const auto& pair : kColourPairs) {
    if (pair.dst == d.format && pair.src == s.format) pair.judge(d, s, sized.width, sized.height);
  }
  if (d.format == QX_FMT_ABGR || s.format == QX_FMT_ABGR) return;
  if (d.format != QX_FMT_GRAY && s.format != QX_FMT_GRAY) return;
  const int even = d.plane[1] != nullptr ? ~1 : ~0;
  if (d.plane[1] != nullptr) fill_chroma(d, d.width & even, d.height & even);
  to_or_from_gray(d, s, d.width & even, d.height & even);
}

constexpr int kOverlap = -1;  // as padding: pitches are the width, however long a row is

// `less`: by how much the destination is described as smaller than the source.
void expect_converted(uint32_t to, const TestImage& src, int padding, int less) {
  const int bytes = std::max(padding, 0);
  TestImage dst(to, src.width(), src.height(), bytes, bytes, 2);
  if (padding == kOverlap) dst.descriptor().pitch[0] = dst.descriptor().pitch[1] = src.width();
  dst.descriptor().width = std::max(1, src.width() - less);
  dst.descriptor().height = std::max(1, src.height() - less);
  const TestImage expected = dst.clone();
  judge(expected, src);
  ASSERT_EQ(mvk_convert(dst.get(), src.get()), MVK_OK);
  ASSERT_TRUE(dst == expected) << dst << " from " << src;
}

// With every pair of paddings; small images also as if the destination were smaller.
void expect_converted(uint32_t to, const TestImage& src) {
  expect_converted(to, src, 0, 0);
  if (src.height() < 100) expect_converted(to, src, kOverlap, 0);
  if (src.width() > 1000) return;
  for (const int less : {0, 3, 4}) expect_converted(to, src, 3, less);
}

class Convert : public test::JudgedByOpenCv {};

// The last two shapes are large enough for the work to be divided.
TEST_F(Convert, EveryPairShapeSizeAndPadding) {
  std::vector<test::Shape> shapes = test::kShapes;
  shapes.insert(shapes.end(), {{33003, 5}, {1101, 1003}});
  for (const uint32_t from : test::kFormats) {
    for (const test::Shape shape : shapes) {
      for (const int padding : {0, 5}) {
        const TestImage src(from, shape.width, shape.height, padding, padding);
        for (const uint32_t to : test::kFormats) {
          if (to != from) test::on_every_target([&] { expect_converted(to, src); });
        }
      }
    }
  }
}

// As many rows and bytes as the destination has, each plane with its own pitch.
TEST_F(Convert, TypedViewOfNv21ToGray) {
  using kel::imageprocess::PixelRegion_;
  const TestImage src(QX_FMT_NV21, 9, 7, 3);
  for (const auto& [width, height] : std::vector<test::Shape>{{8, 6}, {5, 6}, {8, 1}}) {
    const TestImage dst(QX_FMT_GRAY, width, height, 2, 0, 2);
    TestImage expected = dst.clone();
    for (int y = 0; y < height; ++y) std::copy_n(src.row(y), width, expected.row(y));
    PixelRegion_<QX_FMT_GRAY> gray(dst.descriptor());
    const PixelRegion_<QX_FMT_NV21> nv(src.descriptor());
    kel::imageprocess::convert_pixel_format<QX_FMT_NV21, QX_FMT_GRAY>(gray, nv);
    EXPECT_TRUE(dst == expected) << dst << " from " << src;
  }
}

}  // namespace
