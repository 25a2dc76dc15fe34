// mvk_copy: whole and padded rows, the even part of two-plane images, images that do not fit.
#include <gtest/gtest.h>

#include <cstring>

#include "core/pixel_region.h"
#include "support/bad_arguments.h"
#include "support/test_image.h"

namespace {

using test::TestImage;

// Byte by byte, from the layout of the formats.
void copy_by_hand(TestImage& dst, const TestImage& src) {
  const bool two_plane = src.descriptor().pitch[1] != 0;
  const int mask = two_plane ? ~1 : ~0;
  const int row_bytes =
      two_plane ? (src.width() & ~1)
                : src.width() * kel::imageprocess::bytes_per_pixel(src.descriptor().format);
  for (int y = 0; y < (src.height() & mask); ++y) {
    for (int x = 0; x < row_bytes; ++x) dst.row(y)[x] = src.row(y)[x];
  }
  for (int y = 0; two_plane && y < src.height() / 2; ++y) {
    for (int x = 0; x < row_bytes; ++x) dst.row(y, 1)[x] = src.row(y, 1)[x];
  }
}

TEST(Copy, EveryFormatShapeAndPadding) {
  for (const uint32_t format : test::kFormats) {
    if (format == QX_FMT_ABGR) continue;
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

TEST(Copy, ImagesThatDoNotFitAreLeftAlone) {
  for (const uint32_t format : test::kFormats) {
    if (format == QX_FMT_ABGR) continue;
    for (const test::Shape shape : {test::Shape{4, 6}, {8, 4}, {6, 8}}) {
      const TestImage src(format, 4, 8);
      TestImage dst(format, shape.width, shape.height, 0, 0, 2);
      const TestImage before = dst.clone();
      EXPECT_EQ(mvk_copy(&dst, &src.descriptor()), MVK_OK);
      EXPECT_TRUE(dst == before) << dst;
    }
  }
}

TEST(Copy, ChromaIsCopiedWhereOnlyItFits) {
  TestImage src(QX_FMT_NV12, 8, 8);
  TestImage dst(QX_FMT_NV12, 8, 8, 0, 0, 2);
  TestImage expected = dst.clone();
  std::memcpy(expected.row(0, 1), src.row(0, 1), src.plane_size(1));
  kel::imageprocess::PixelRegion2P422_Impl to(dst.descriptor());
  to.y.rows = 6;
  to.copy(kel::imageprocess::PixelRegion2P422_Impl(src.descriptor()));
  EXPECT_TRUE(dst == expected);
}

TEST(Copy, OntoItself) {
  TestImage image(QX_FMT_NV21, 7, 5, 3, 3);
  const TestImage before = image.clone();
  kel::imageprocess::PixelRegion2P422_Impl view(image.descriptor());
  view.width = 7;
  view.copy(view);
  EXPECT_EQ(view.width, 6);
  EXPECT_TRUE(image == before);
}

TEST(Copy, BadArguments) {
  for (const uint32_t format : {QX_FMT_GRAY, QX_FMT_NV12}) {
    TestImage src(format, 8, 8);
    TestImage dst(format, 8, 8, 0, 0, 2);
    const std::vector<test::BrokenField> fields{
        test::kBrokenFields[0],
        {"format", [](QX_OFFSCREEN& image) { image.format = QX_FMT_ABGR; }},
        {"other format", [](QX_OFFSCREEN& image) { image.format = QX_FMT_ARGB; }}};
    const auto call = [&] { return mvk_copy(&dst, &src); };
    test::expect_refused(src, dst, fields, call);
    test::expect_refused(dst, dst, fields, call);
    EXPECT_EQ(mvk_copy(nullptr, &src), MVK_BAD_ARGUMENT);
    EXPECT_EQ(mvk_copy(&dst, nullptr), MVK_BAD_ARGUMENT);
  }
  TestImage abgr(QX_FMT_ABGR, 4, 4);
  EXPECT_EQ(mvk_copy(&abgr, &abgr), MVK_BAD_ARGUMENT);
  TestImage empty(QX_FMT_RGB24, 4, 4);
  empty.descriptor().width = 0;
  EXPECT_EQ(mvk_copy(&empty, &empty), MVK_OK);
}

TEST(Version, IsTheOneLine) {
  EXPECT_STREQ(qxMorvik_version(), "Morvik Version: 1.3.52-gfe8a37c-ios-iphone-mk_ios");
}

}  // namespace
