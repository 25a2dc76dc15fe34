// What the functions that take images refuse: the result code, and that nothing is written.
#include <gtest/gtest.h>

#include <array>

#include "mask/mask_smooth.h"
#include "support/bad_arguments.h"
#include "support/test_image.h"

namespace {

using test::TestImage;
using Formats = std::array<uint32_t, 3>;  // dst, src, guide
using Images = std::array<const QX_OFFSCREEN*, 3>;

MKRect rect;

enum Checks { kPlanes, kRecords, kSizes };

// A function that takes so many images.
struct Function {
  const char* name;
  size_t images;
  Checks checks;
  bool (*takes)(const Formats& formats);
  uint32_t (*call)(const Images& images);
};

// On images of 8 x 8 pixels in memory for any format; a mask with a guide is smaller.
void expect_refusals(const Function& function, const Formats& formats) {
  std::vector<TestImage> images;
  Images given{};
  for (size_t i = 0; i < 3; ++i) images.emplace_back(QX_FMT_ARGB, 8, 12);
  for (size_t i = 0; i < 3; ++i) {
    const int side = function.images == 3 && i == 1 ? 7 : 8;
    uint8_t* start = images[i].row(0);
    images[i].descriptor() = {formats[i], side, side, {start, start + 256}, {32, 32}};
    given[i] = images[i].get();
  }
  const TestImage before = images[0].clone();
  const auto expect_refused = [&](const char* what) {
    EXPECT_EQ(function.call(given), MVK_BAD_ARGUMENT) << function.name << ' ' << what;
    EXPECT_TRUE(images[0] == before) << function.name << " wrote, " << what;
  };
  if (!function.takes(formats)) return expect_refused("formats");
  std::vector<test::BrokenField> fields = test::kBrokenFields;
  if (function.checks == kPlanes) fields.resize(3);
  if (function.checks == kSizes) {
    fields.push_back({"wider", [](QX_OFFSCREEN& image) { ++image.width; }});
    fields.push_back({"higher", [](QX_OFFSCREEN& image) { ++image.height; }});
  }
  for (size_t i = 0; i < function.images; ++i) {
    given[i] = nullptr;
    expect_refused("null record");
    given[i] = images[i].get();
    const QX_OFFSCREEN good = images[i];
    for (const test::BrokenField& field : fields) {
      field.break_it(images[i].descriptor());
      expect_refused(field.name);
      images[i].descriptor() = good;
    }
  }
  EXPECT_EQ(function.call(given), MVK_OK) << function.name;
}

TEST(Arguments, FormatsAndRecordsOfEveryFunction) {
  const auto differ = [](auto& f) { return f[0] != f[1]; };
  const auto moved = [](auto& f) { return f[0] == f[1] && f[0] != QX_FMT_ABGR; };
  const auto blurred = [](auto& f) {
    return f[0] == f[1] && (f[0] == QX_FMT_GRAY || f[0] == QX_FMT_RGB24);
  };
  const auto masks = [](auto& f) { return f[0] == QX_FMT_GRAY && f[1] == QX_FMT_GRAY; };
  const auto guided = [](auto& f) { return f == Formats{QX_FMT_GRAY, QX_FMT_GRAY, QX_FMT_RGB24}; };
  const auto mask = [](auto& f) { return f[0] == QX_FMT_GRAY; };
  const auto fill = [](auto& i) {
    const TPOINT points[] = {{0, 0}, {5, 0}, {0, 5}};
    return mvk_fill_area_up(i[0], 3, points);
  };
  const Function functions[]{
      {"copy", 2, kPlanes, moved, [](auto& i) { return mvk_copy(i[0], i[1]); }},
      {"convert", 2, kRecords, differ, [](auto& i) { return mvk_convert(i[0], i[1]); }},
      {"resize", 2, kRecords, moved, [](auto& i) { return mvk_resize(i[0], i[1], 3); }},
      {"rotate", 2, kRecords, moved, [](auto& i) { return mvk_rotate(i[0], i[1], 90); }},
      {"make_mask_smooth", 3, kSizes, guided,
       [](auto& i) { return mvk_make_mask_smooth(i[0], i[1], i[2], 0, 8); }},
      {"holes", 2, kSizes, masks, [](auto& i) { return mvk_make_up_holes(i[0], i[1], 254); }},
      {"morph", 2, kSizes, masks, [](auto& i) { return mvk_mask_morph(i[0], i[1], 200); }},
      {"smooth", 2, kSizes, blurred,
       [](auto& i) { return mvk_smooth(i[1], i[0], 199, MKBlur::Bilateral, 0, 0, 0); }},
      {"fill_area_up", 1, kRecords, mask, fill},
      {"roi", 1, kPlanes, mask, [](auto& i) { return mvk_get_mask_roi(i[0], &rect, 1); }},
  };
  for (const Function& function : functions) {
    for (const uint32_t dst : test::kFormats) {
      for (const uint32_t src : test::kFormats) {
        for (const uint32_t guide : test::kFormats) expect_refusals(function, {dst, src, guide});
      }
    }
  }
}

TEST(Arguments, Values) {
  constexpr uint32_t kRefused = MVK_BAD_ARGUMENT;
  const TestImage src(QX_FMT_GRAY, 9, 6);
  TestImage dst(QX_FMT_GRAY, 9, 6, 0, 0, 2);
  const TestImage before = dst.clone();
  for (const int value : {-270, -201, 201, 271, 360, 450, INT32_MIN, INT32_MAX}) {
    EXPECT_EQ(mvk_rotate(dst.get(), src.get(), value), kRefused) << value;
    EXPECT_EQ(mvk_mask_morph(dst.get(), src.get(), value), kRefused) << value;
  }
  for (const uint32_t value : {255U, 256U, UINT32_MAX}) {
    EXPECT_EQ(mvk_resize(dst.get(), src.get(), value - 251), kRefused) << value;
    EXPECT_EQ(mvk_make_up_holes(dst.get(), src.get(), value), kRefused) << value;
    EXPECT_EQ(mvk_smooth(src.get(), dst.get(), 3, static_cast<MKBlur>(value - 251), 0, 0, 0),
              kRefused);
  }
  for (const uint32_t ksize : {0U, 2U, 200U, 201U, UINT32_MAX}) {
    EXPECT_EQ(mvk_smooth(src.get(), dst.get(), ksize, MKBlur::Mean, 0, 0, 0), kRefused) << ksize;
    EXPECT_EQ(kel::mask::mask_smooth(src, dst, src, 0, 8, ksize), 7U) << ksize;
  }
  EXPECT_EQ(mvk_fill_area_up(dst.get(), 3, nullptr), kRefused);
  for (const uint32_t level : {0U, 255U})
    EXPECT_EQ(mvk_get_mask_roi(src.get(), &rect, level), kRefused);
  EXPECT_EQ(mvk_get_mask_roi(src.get(), nullptr, 5), kRefused);
  EXPECT_TRUE(dst == before);
  EXPECT_EQ(mvk_mask_morph(dst.get(), src.get(), 0), kRefused);  // the only refusal that writes
  EXPECT_TRUE(dst == TestImage::gray(9, 6, std::vector<uint8_t>(54)));
  const TestImage photo(QX_FMT_RGB24, 522, 522);
  const TestImage large(QX_FMT_GRAY, 522, 522);
  for (const auto& [w, h, code] : {std::tuple{521, 2, 2U}, {2, 521, 2U}, {520, 520, 0U}}) {
    EXPECT_EQ(
        mvk_make_mask_smooth(large.get(), TestImage(QX_FMT_GRAY, w, h).get(), photo.get(), 0, 600),
        code);
  }
}

TEST(Version, IsThatOfTheRelease) {
  EXPECT_STREQ(qxMorvik_version(), "Morvik Version: 1.3.52-gfe8a37c-ios-iphone-mk_ios");
}

}  // namespace
