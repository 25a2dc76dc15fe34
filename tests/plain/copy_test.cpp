// mvk_copy: whole and padded rows, the even part of two-plane images, images that do not fit.
#include <gtest/gtest.h>

#include "core/pixel_region.h"
#include "support/test_image.h"

namespace {

using kel::imageprocess::PixelRegion2P422_Impl;
using test::TestImage;

const std::vector<uint32_t> kCopied{QX_FMT_RGB24, QX_FMT_ARGB, QX_FMT_GRAY, QX_FMT_NV12,
                                    QX_FMT_NV21};

void copy_bytes(TestImage& dst, const TestImage& src, int plane, int row_bytes, int rows) {
  for (int y = 0; y < rows; ++y) {
    for (int x = 0; x < row_bytes; ++x) dst.row(y, plane)[x] = src.row(y, plane)[x];
  }
}

void copy_by_hand(TestImage& dst, const TestImage& src) {
  const int bytes = kel::imageprocess::bytes_per_pixel(src.descriptor().format);
  const bool two_plane = src.descriptor().plane[1] != nullptr;
  const int mask = two_plane ? ~1 : ~0;
  copy_bytes(dst, src, 0, (src.width() & mask) * bytes, src.height() & mask);
  if (two_plane) copy_bytes(dst, src, 1, src.width() & ~1, src.height() / 2);
}

TEST(Copy, EveryFormatShapeAndPadding) {
  for (const uint32_t format : kCopied) {
    for (const test::Shape shape : test::kShapes) {
      for (const auto& [dst_padding, src_padding] : {std::pair{0, 0}, {0, 5}, {7, 0}, {3, 3}}) {
        const TestImage src(format, shape.width, shape.height, src_padding, 2 * src_padding, 1);
        TestImage dst(format, shape.width, shape.height, dst_padding, dst_padding, 2);
        TestImage expected = dst.clone();
        copy_by_hand(expected, src);
        ASSERT_EQ(mvk_copy(&dst, &src.descriptor()), MVK_OK);
        ASSERT_TRUE(dst == expected) << dst << " from " << src;
      }
    }
  }
}

TEST(Copy, PlanesOfAViewAreCopiedOneByOne) {
  const TestImage src(QX_FMT_NV12, 8, 8);
  TestImage dst(QX_FMT_NV12, 8, 8, 0, 0, 2);
  TestImage expected = dst.clone();
  copy_bytes(expected, src, 1, 8, 4);
  PixelRegion2P422_Impl to(dst.descriptor());
  to.y.rows = 6;  // does not fit
  to.copy(PixelRegion2P422_Impl(src.descriptor()));
  to.width = 7;
  EXPECT_EQ(to.copy(to).width, 6);
  EXPECT_TRUE(dst == expected);
}

TEST(Version, IsTheOneLine) {
  EXPECT_STREQ(qxMorvik_version(), "Morvik Version: 1.3.52-gfe8a37c-ios-iphone-mk_ios");
}

}  // namespace
