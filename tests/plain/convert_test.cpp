// mvk_convert: every pair of formats against libyuv's calls or loops over pixels.
#include <gtest/gtest.h>
#include <libyuv.h>

#include "core/format.h"
#include "support/test_image.h"

namespace {

using test::TestImage;
using Image = const QX_OFFSCREEN&;

// One plane to one, two to one, one to two, or two to two: the planes in order, then the size.
template <auto Function>
void yuv(Image d, Image s, int w, int h) {
  if constexpr (std::is_invocable_v<decltype(Function), uint8_t*, int, uint8_t*, int, int, int>) {
    Function(s.plane[0], s.pitch[0], d.plane[0], d.pitch[0], w, h);
  } else if constexpr (std::is_same_v<decltype(Function), decltype(&libyuv::NV21ToNV12)>) {
    Function(s.plane[0], s.pitch[0], s.plane[1], s.pitch[1], d.plane[0], d.pitch[0], d.plane[1],
             d.pitch[1], w, h);
  } else {
    Image middle = s.plane[1] != nullptr ? s : d;
    const int at = s.plane[1] != nullptr ? 1 : 0;
    Function(s.plane[0], s.pitch[0], middle.plane[at], middle.pitch[at], d.plane[1 - at],
             d.pitch[1 - at], w, h);
  }
}

template <auto Function>
void by_way_of_argb(Image d, Image s, int w, int h) {
  TestImage whole(QX_FMT_ARGB, w, h);
  yuv<libyuv::RGB24ToARGB>(whole.descriptor(), s, w, h);
  yuv<Function>(d, whole.descriptor(), w, h);
}

void gray(Image d, Image s, int w, int h) {
  const int dst_bytes = kel::imageprocess::bytes_per_pixel(d.format);
  const int src_bytes = kel::imageprocess::bytes_per_pixel(s.format);
  for (int i = 0; i < w * h; ++i) {
    uint8_t* to = d.plane[0] + i / w * d.pitch[0] + i % w * dst_bytes;
    const uint8_t* from = s.plane[0] + i / w * s.pitch[0] + i % w * src_bytes;
    const int value = src_bytes == 1 ? from[0] : (from[0] + from[1] + from[2]) / 3;
    for (int k = 0; k < dst_bytes; ++k) to[k] = static_cast<uint8_t>(k < 3 ? value : 255);
  }
}
template <int Offset>
void gray_to_nv(Image d, Image s, int w, int h) {
  const int chroma_end = h / 2 * d.pitch[1];
  for (int at = 0; at < chroma_end; at += d.pitch[1]) {
    for (int x = Offset; x < (w & ~1) + Offset; ++x) {
      if (at + x < chroma_end) d.plane[1][at + x] = 128;
    }
  }
  gray(d, s, w & ~1, h & ~1);
}

struct Pair {
  uint32_t dst;
  uint32_t src;
  void (*judge)(Image d, Image s, int w, int h);
};
const Pair kPairs[]{
    {QX_FMT_RGB24, QX_FMT_ARGB, yuv<libyuv::ARGBToRGB24>},
    {QX_FMT_RGB24, QX_FMT_NV12, yuv<libyuv::NV12ToRGB24>},
    {QX_FMT_RGB24, QX_FMT_NV21, yuv<libyuv::NV21ToRGB24>},
    {QX_FMT_ARGB, QX_FMT_RGB24, yuv<libyuv::RGB24ToARGB>},
    {QX_FMT_ARGB, QX_FMT_NV12, yuv<libyuv::NV12ToARGB>},
    {QX_FMT_ARGB, QX_FMT_NV21, yuv<libyuv::NV21ToARGB>},
    {QX_FMT_ABGR, QX_FMT_NV12, yuv<libyuv::NV12ToABGR>},
    {QX_FMT_ABGR, QX_FMT_NV21, yuv<libyuv::NV21ToABGR>},
    {QX_FMT_NV12, QX_FMT_RGB24, by_way_of_argb<libyuv::ARGBToNV12>},
    {QX_FMT_NV12, QX_FMT_ARGB, yuv<libyuv::ARGBToNV12>},
    {QX_FMT_NV12, QX_FMT_ABGR, yuv<libyuv::ABGRToNV12>},
    {QX_FMT_NV12, QX_FMT_NV21, yuv<libyuv::NV21ToNV12>},
    {QX_FMT_NV21, QX_FMT_RGB24, by_way_of_argb<libyuv::ARGBToNV21>},
    {QX_FMT_NV21, QX_FMT_ARGB, yuv<libyuv::ARGBToNV21>},
    {QX_FMT_NV21, QX_FMT_ABGR, yuv<libyuv::ABGRToNV21>},
    {QX_FMT_NV21, QX_FMT_NV12, yuv<libyuv::NV21ToNV12>},
    {QX_FMT_GRAY, QX_FMT_RGB24, gray},
    {QX_FMT_GRAY, QX_FMT_ARGB, gray},
    {QX_FMT_GRAY, QX_FMT_NV12, gray},
    {QX_FMT_GRAY, QX_FMT_NV21, gray},
    {QX_FMT_RGB24, QX_FMT_GRAY, gray},
    {QX_FMT_ARGB, QX_FMT_GRAY, gray},
    {QX_FMT_NV12, QX_FMT_GRAY, gray_to_nv<1>},
    {QX_FMT_NV21, QX_FMT_GRAY, gray_to_nv<0>},
};

void judge(TestImage& expected, const TestImage& src, int w, int h) {
  for (const Pair& pair : kPairs) {
    if (pair.dst == expected.descriptor().format && pair.src == src.descriptor().format) {
      pair.judge(expected.descriptor(), src.descriptor(), w, h);
    }
  }
}

// The last two are large enough for the work to be cut into pieces, in width and in height.
TEST(Convert, EveryPairShapeAndPadding) {
  std::vector<test::Shape> shapes = test::kShapes;
  shapes.insert(shapes.end(), {{33003, 5}, {1101, 1003}});
  for (const uint32_t to : test::kFormats) {
    for (const uint32_t from : test::kFormats) {
      for (size_t i = 0; to != from && i < 4 * shapes.size(); ++i) {
        const test::Shape shape = shapes[i / 4];
        if (shape.width > 1000 && i % 4 != 0) continue;
        const int padding = i % 4 == 1 || i % 4 == 2 ? 5 : 0;
        const int other = i % 4 > 1 ? 3 : 0;
        const TestImage src(from, shape.width, shape.height, padding, padding, 1);
        TestImage dst(to, shape.width, shape.height, other, other, 2);
        TestImage expected = dst.clone();
        judge(expected, src, shape.width, shape.height);
        ASSERT_EQ(mvk_convert(&dst, &src.descriptor()), MVK_OK);
        ASSERT_TRUE(dst == expected) << dst << " from " << src;
      }
    }
  }
}

TEST(Convert, SizeIsThatOfTheDestinationButForRgbFromYuv) {
  for (const Pair& pair : kPairs) {
    const TestImage src(pair.src, 40, 20);
    TestImage dst(pair.dst, 40, 20, 0, 0, 2);
    TestImage expected = dst.clone();
    dst.descriptor().width = expected.descriptor().width = 34;
    dst.descriptor().height = expected.descriptor().height = 18;
    const bool takes_source = pair.dst == QX_FMT_RGB24 && src.descriptor().plane[1] != nullptr;
    judge(expected, src, takes_source ? 40 : 34, takes_source ? 20 : 18);
    EXPECT_EQ(mvk_convert(&dst, &src.descriptor()), MVK_OK);
    EXPECT_TRUE(dst == expected) << dst << " from " << src;
  }
}

}  // namespace
