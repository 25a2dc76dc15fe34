// What the mask functions refuse: the code, and nothing written.
#include <functional>

#include "mask/mask_smooth.h"
#include "mask/masks.h"
#include "support/bad_arguments.h"

namespace {

using test::BrokenField;
using test::TestImage;

const BrokenField kWidth{"width", [](QX_OFFSCREEN& image) { --image.width; }};
const BrokenField kHeight{"height", [](QX_OFFSCREEN& image) { --image.height; }};
const BrokenField kArgb{"ARGB", [](QX_OFFSCREEN& image) { image.format = QX_FMT_ARGB; }};
const BrokenField kNv12{"NV12", [](QX_OFFSCREEN& image) { image.format = QX_FMT_NV12; }};

const uint32_t kRefused = MVK_BAD_ARGUMENT;
TestImage src(QX_FMT_GRAY, 9, 6, 4);
TestImage dst(QX_FMT_GRAY, 9, 6, 4, 0, 2);

void expect_fields(TestImage& image, std::vector<BrokenField> fields,
                   const std::function<uint32_t()>& call) {
  fields.insert(fields.end(), {kArgb, kNv12});
  fields.insert(fields.end(), test::kBrokenFields.begin(), test::kBrokenFields.end());
  test::expect_refused(image, dst, fields, call);
}

TEST(MaskArguments, OfPairs) {
  const std::function<uint32_t(const QX_OFFSCREEN*, const QX_OFFSCREEN*)> calls[] = {
      [](auto* to, auto* from) { return mvk_mask_morph(to, from, 3); },
      [](auto* to, auto* from) { return mvk_make_up_holes(to, from, 100); },
      [](auto* to, auto* from) { return mvk_smooth(from, to, 3, MKBlur::Mean, 0, 0, 0); }};
  for (const auto& call : calls) {
    EXPECT_EQ(call(nullptr, &src), kRefused);
    EXPECT_EQ(call(&dst, nullptr), kRefused);
    expect_fields(src, {kWidth, kHeight}, [&] { return call(&dst, &src); });
    expect_fields(dst, {kWidth, kHeight}, [&] { return call(&dst, &src); });
  }
}

TEST(MaskArguments, Values) {
  const TestImage before = dst.clone();
  for (const int amount : {-201, 201, INT32_MIN, INT32_MAX}) {
    EXPECT_EQ(mvk_mask_morph(&dst, &src, amount), kRefused);
  }
  for (const uint32_t level : {255U, 256U, UINT32_MAX}) {
    EXPECT_EQ(mvk_make_up_holes(&dst, &src, level), kRefused);
  }
  for (const uint32_t ksize : {0U, 2U, 200U, 201U, UINT32_MAX}) {
    EXPECT_EQ(mvk_smooth(&src, &dst, ksize, MKBlur::Mean, 0, 0, 0), kRefused);
    EXPECT_EQ(
        kel::mask::mask_smooth(src.descriptor(), dst.descriptor(), src.descriptor(), 0, 8, ksize),
        7U);
  }
  EXPECT_EQ(mvk_smooth(&src, &dst, 3, static_cast<MKBlur>(4), 0, 0, 0), kRefused);
  EXPECT_TRUE(dst == before);
  EXPECT_EQ(mvk_mask_morph(&dst, &src, 0), kRefused);  // and clears
  EXPECT_EQ(cv::countNonZero(as_written::block(dst)), 0);
}

TEST(MaskArguments, OfAreaAndBox) {
  const TPOINT points[3] = {{0, 0}, {5, 0}, {0, 5}};
  expect_fields(dst, {}, [&] { return mvk_fill_area_up(&dst, 3, points); });
  EXPECT_EQ(mvk_fill_area_up(&dst, 3, nullptr), kRefused);
  EXPECT_EQ(mvk_fill_area_up(nullptr, 3, points), kRefused);
  MKRect rect{};
  test::expect_refused(src, dst, {test::kBrokenFields[0], kArgb, kNv12},
                       [&] { return mvk_get_mask_roi(&src, &rect, 5); });
  EXPECT_EQ(mvk_get_mask_roi(nullptr, &rect, 5), kRefused);
  EXPECT_EQ(mvk_get_mask_roi(&src, nullptr, 5), kRefused);
  EXPECT_EQ(mvk_get_mask_roi(&src, &rect, 0), kRefused);
  EXPECT_EQ(mvk_get_mask_roi(&src, &rect, 255), kRefused);
}

TEST(MaskArguments, OfMaskSmooth) {
  TestImage mask(QX_FMT_GRAY, 8, 5, 4);
  TestImage guide(QX_FMT_RGB24, 9, 6);
  guide.descriptor().pitch[0] = 9;  // the width in pixels is enough
  const auto call = [&] { return mvk_make_mask_smooth(&dst, &mask, &guide, 0, 8); };
  expect_fields(mask,
                {{"wide as guide", [](QX_OFFSCREEN& image) { ++image.width; }},
                 {"high as guide", [](QX_OFFSCREEN& image) { ++image.height; }}},
                call);
  expect_fields(guide, {kWidth, kHeight}, call);
  expect_fields(dst, {kWidth, kHeight}, call);
  EXPECT_EQ(mvk_make_mask_smooth(nullptr, &mask, &guide, 0, 8), kRefused);
  EXPECT_EQ(mvk_make_mask_smooth(&dst, nullptr, &guide, 0, 8), kRefused);
  EXPECT_EQ(mvk_make_mask_smooth(&dst, &mask, nullptr, 0, 8), kRefused);
  TestImage photo(QX_FMT_RGB24, 522, 522);
  TestImage smooth(QX_FMT_GRAY, 522, 522);
  for (const auto& [width, height] : {std::pair{521, 2}, {2, 521}}) {
    TestImage large(QX_FMT_GRAY, width, height);
    EXPECT_EQ(mvk_make_mask_smooth(&smooth, &large, &photo, 0, 600), kRefused);
  }
}

}  // namespace
