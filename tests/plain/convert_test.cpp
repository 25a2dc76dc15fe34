// mvk_convert: every pair of formats against libyuv's calls or loops over pixels.
#include <gtest/gtest.h>
#include <libyuv.h>

#include <vector>

#include "core/convert.h"
#include "support/bad_arguments.h"
#include "support/test_image.h"

namespace {

using test::TestImage;
using Image = const QX_OFFSCREEN&;

template <auto Function>
void packed(Image d, Image s, int w, int h) {
  Function(s.plane[0], s.pitch[0], d.plane[0], d.pitch[0], w, h);
}
template <auto Function>
void from_nv(Image d, Image s, int w, int h) {
  Function(s.plane[0], s.pitch[0], s.plane[1], s.pitch[1], d.plane[0], d.pitch[0], w, h);
}
template <auto Function>
void to_nv(Image d, Image s, int w, int h) {
  Function(s.plane[0], s.pitch[0], d.plane[0], d.pitch[0], d.plane[1], d.pitch[1], w, h);
}
template <auto Function>
void rgb24_to_nv(Image d, Image s, int w, int h) {
  std::vector<uint8_t> whole(size_t{4} * static_cast<size_t>(w) * static_cast<size_t>(h));
  libyuv::RGB24ToARGB(s.plane[0], s.pitch[0], whole.data(), 4 * w, w, h);
  Function(whole.data(), 4 * w, d.plane[0], d.pitch[0], d.plane[1], d.pitch[1], w, h);
}
void swap_uv(Image d, Image s, int w, int h) {
  libyuv::NV21ToNV12(s.plane[0], s.pitch[0], s.plane[1], s.pitch[1], d.plane[0], d.pitch[0],
                     d.plane[1], d.pitch[1], w, h);
}

// Pixel by pixel: `put` moves pixel (x, y), given its first byte on either side.
template <int DstBytes, int SrcBytes, auto Put>
void each_pixel(Image d, Image s, int w, int h) {
  for (int y = 0; y < h; ++y) {
    for (int x = 0; x < w; ++x) {
      Put(d.plane[0] + y * d.pitch[0] + x * DstBytes, s.plane[0] + y * s.pitch[0] + x * SrcBytes);
    }
  }
}
void put_mean(uint8_t* d, const uint8_t* s) { *d = static_cast<uint8_t>((s[0] + s[1] + s[2]) / 3); }
void put_one(uint8_t* d, const uint8_t* s) { *d = *s; }
void put_three(uint8_t* d, const uint8_t* s) { d[0] = d[1] = d[2] = *s; }
void put_opaque(uint8_t* d, const uint8_t* s) {
  put_three(d, s);
  d[3] = 255;
}
template <int Offset>
void gray_to_nv(Image d, Image s, int w, int h) {
  for (int y = 0; y < h / 2; ++y) {
    for (int x = Offset; x < (w & ~1) + Offset; ++x) {
      if (y * d.pitch[1] + x < h / 2 * d.pitch[1]) d.plane[1][y * d.pitch[1] + x] = 128;
    }
  }
  each_pixel<1, 1, put_one>(d, s, w & ~1, h & ~1);
}

struct Pair {
  uint32_t dst;
  uint32_t src;
  void (*judge)(Image d, Image s, int w, int h);
};
const Pair kPairs[]{
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
    {QX_FMT_GRAY, QX_FMT_RGB24, each_pixel<1, 3, put_mean>},
    {QX_FMT_GRAY, QX_FMT_ARGB, each_pixel<1, 4, put_mean>},
    {QX_FMT_GRAY, QX_FMT_NV12, each_pixel<1, 1, put_one>},
    {QX_FMT_GRAY, QX_FMT_NV21, each_pixel<1, 1, put_one>},
    {QX_FMT_RGB24, QX_FMT_GRAY, each_pixel<3, 1, put_three>},
    {QX_FMT_ARGB, QX_FMT_GRAY, each_pixel<4, 1, put_opaque>},
    {QX_FMT_NV12, QX_FMT_GRAY, gray_to_nv<1>},
    {QX_FMT_NV21, QX_FMT_GRAY, gray_to_nv<0>},
};

void expect_converted(uint32_t to, uint32_t from, test::Shape shape, int dst_pad, int src_pad) {
  const TestImage src(from, shape.width, shape.height, src_pad, src_pad, 1);
  TestImage dst(to, shape.width, shape.height, dst_pad, dst_pad, 2);
  TestImage expected = dst.clone();
  for (const Pair& pair : kPairs) {
    if (pair.dst == to && pair.src == from) {
      pair.judge(expected.descriptor(), src.descriptor(), shape.width, shape.height);
    }
  }
  ASSERT_EQ(mvk_convert(&dst, &src.descriptor()), MVK_OK);
  ASSERT_TRUE(dst == expected) << dst << " from " << src;
}

TEST(Convert, EveryPairShapeAndPadding) {
  for (const uint32_t to : test::kFormats) {
    for (const uint32_t from : test::kFormats) {
      if (to == from) continue;
      for (const test::Shape shape : test::kShapes) {
        for (const auto& [dst_pad, src_pad] : {std::pair{0, 0}, {0, 5}, {7, 0}, {3, 3}}) {
          ASSERT_NO_FATAL_FAILURE(expect_converted(to, from, shape, dst_pad, src_pad));
        }
      }
    }
  }
}

// Large enough that work is cut into pieces, in width and in height.
TEST(Convert, LargeImagesAreConvertedAsAWhole) {
  for (const Pair& pair : kPairs) {
    for (const test::Shape shape : {test::Shape{33003, 5}, {1101, 1003}}) {
      ASSERT_NO_FATAL_FAILURE(expect_converted(pair.dst, pair.src, shape, 1, 0));
    }
  }
}

TEST(Convert, SizeIsThatOfTheDestinationButForRgbFromYuv) {
  for (const Pair& pair : kPairs) {
    const bool from_yuv = pair.src == QX_FMT_NV12 || pair.src == QX_FMT_NV21;
    const bool takes_source = pair.dst == QX_FMT_RGB24 && from_yuv;
    const TestImage src(pair.src, 40, 20);
    TestImage dst(pair.dst, 40, 20, 0, 0, 2);
    TestImage expected = dst.clone();
    dst.descriptor().width = expected.descriptor().width = 34;
    dst.descriptor().height = expected.descriptor().height = 18;
    pair.judge(expected.descriptor(), src.descriptor(), takes_source ? 40 : 34,
               takes_source ? 20 : 18);
    EXPECT_EQ(mvk_convert(&dst, &src.descriptor()), MVK_OK);
    EXPECT_TRUE(dst == expected) << dst << " from " << src;
  }
}

TEST(Convert, InnerCallsCopyEqualFormatsAndTakeLuminanceByView) {
  TestImage nv(QX_FMT_NV21, 13, 9, 3, 1);
  TestImage copied(QX_FMT_NV21, 13, 9, 0, 0, 2);
  TestImage expected = copied.clone();
  kel::imageprocess::convert_pixel_format(copied.descriptor(), nv.descriptor());
  mvk_copy(&expected, &nv);
  EXPECT_TRUE(copied == expected);

  TestImage gray(QX_FMT_GRAY, 7, 5, 2, 0, 3);
  TestImage luminance = gray.clone();
  each_pixel<1, 1, put_one>(luminance.descriptor(), nv.descriptor(), 7, 5);
  kel::imageprocess::PixelRegion_<QX_FMT_GRAY> view(gray.descriptor());
  kel::imageprocess::convert_pixel_format<QX_FMT_NV21, QX_FMT_GRAY>(
      view, kel::imageprocess::PixelRegion_<QX_FMT_NV21>(nv.descriptor()));
  EXPECT_TRUE(gray == luminance);
}

void expect_bad_arguments(TestImage& dst, TestImage& src, TestImage& two_plane) {
  const auto call = [&] { return mvk_convert(&dst, &src); };
  test::expect_refused(src, dst, test::kBrokenFields, call);
  test::expect_refused(dst, dst, test::kBrokenFields, call);
  test::expect_refused(two_plane, dst, test::kBrokenChromaFields, call);
  EXPECT_EQ(mvk_convert(nullptr, &src), MVK_BAD_ARGUMENT);
  EXPECT_EQ(mvk_convert(&dst, nullptr), MVK_BAD_ARGUMENT);
  EXPECT_EQ(mvk_convert(&dst, &dst), MVK_BAD_ARGUMENT);
}

TEST(Convert, BadArguments) {
  TestImage nv(QX_FMT_NV12, 8, 8);
  TestImage argb(QX_FMT_ARGB, 8, 8, 0, 0, 2);
  expect_bad_arguments(argb, nv, nv);
  expect_bad_arguments(nv, argb, nv);
}

}  // namespace
