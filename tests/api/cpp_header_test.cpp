// The C++ header beside the C functions: the same bytes from views with padded rows, and a sentence
// wherever the C functions refuse or silently do nothing.
#include <gtest/gtest.h>

#include <sys/resource.h>

#include <csignal>
#include <cstdio>
#include <functional>
#include <morvik/morvik.hpp>

#include "support/test_image.h"

namespace {

using morvik::Format;
using morvik::Image;
using morvik::Size;
using test::TestImage;

morvik::View view_of(TestImage& image) {
  const QX_OFFSCREEN& record = image;
  return {static_cast<Format>(record.format),
          {record.width, record.height},
          record.plane[0],
          record.pitch[0],
          record.plane[1],
          record.pitch[1]};
}

// One operation: as a C call on packed images, and through the header.
struct Operation {
  const char* name;
  bool (*takes)(Format format);
  Size (*result)(Size size);
  uint32_t (*in_c)(const QX_OFFSCREEN* dst, const QX_OFFSCREEN* src);
  Image (*in_cpp)(const morvik::ConstView& src);
};

bool moves(Format format) { return format != Format::abgr; }
bool gray(Format format) { return format == Format::gray; }
bool gray_or_rgb24(Format format) { return gray(format) || format == Format::rgb24; }
bool colored(Format format) { return !gray(format); }
Size same(Size size) { return size; }
Size swapped(Size size) { return {size.height, size.width}; }

// clang-format off
const Operation kOperations[] = {
    {"turn", moves, swapped,
     [](const QX_OFFSCREEN* dst, const QX_OFFSCREEN* src) { return mvk_rotate(dst, src, 270); },
     [](const morvik::ConstView& src) { return morvik::rotate(src, 270); }},
    {"copy", moves, same,
     [](const QX_OFFSCREEN* dst, const QX_OFFSCREEN* src) { return mvk_rotate(dst, src, 0); },
     [](const morvik::ConstView& src) { return morvik::rotate(src, 0); }},
    {"scale", moves,
     [](Size) {
       return Size{6, 8};
     },
     [](const QX_OFFSCREEN* dst, const QX_OFFSCREEN* src) {
       return mvk_resize(dst, src, MVK_RESIZE_AREA);
     },
     [](const morvik::ConstView& src) {
       return morvik::resize(src, {6, 8});
     }},
    {"holes", gray, same,
     [](const QX_OFFSCREEN* dst, const QX_OFFSCREEN* src) {
       return mvk_make_up_holes(dst, src, 127);
     },
     [](const morvik::ConstView& src) { return morvik::fill_holes(src); }},
    {"morph", gray, same,
     [](const QX_OFFSCREEN* dst, const QX_OFFSCREEN* src) { return mvk_mask_morph(dst, src, -3); },
     [](const morvik::ConstView& src) { return morvik::morph(src, -3); }},
    {"blur", gray_or_rgb24, same,
     [](const QX_OFFSCREEN* dst, const QX_OFFSCREEN* src) {
       return mvk_smooth(src, dst, 7, MKBlur::Median, 0, 0, 0);
     },
     [](const morvik::ConstView& src) {
       return morvik::blur(src, {MKBlur::Median, 7});
     }},
};
// clang-format on

Image packed_even(const morvik::ConstView& src) {
  if (!morvik::is_two_plane(src.format())) return Image(src);
  return Image(morvik::ConstView(src.format(), {src.width() & ~1, src.height() & ~1}, src.row(0),
                                 src.pitch(), src.row(0, 1), src.pitch(1)));
}

TEST(CppHeader, GivesTheBytesOfTheCFunctions) {
  for (const test::Shape& shape : test::kShapes) {
    for (const uint32_t format : test::kFormats) {
      TestImage padded(format, shape.width, shape.height, 5, 9);
      const morvik::ConstView src = view_of(padded);
      if (morvik::is_two_plane(src.format()) && std::min(shape.width, shape.height) < 2) continue;
      Image packed = packed_even(src);
      for (const Operation& operation : kOperations) {
        if (!operation.takes(src.format())) continue;
        Image expected(src.format(), operation.result(packed.size()));
        ASSERT_EQ(operation.in_c(expected.view().record(), packed.view().record()), MVK_OK);
        const Image result = operation.in_cpp(src);
        ASSERT_TRUE(result.size() == expected.size());
        const int last = src.planes() - 1;
        EXPECT_EQ(result.row(1, last), result.view().row(1, last));
        EXPECT_EQ(std::memcmp(result.data(), expected.data(), expected.bytes()), 0)
            << operation.name << ' ' << test::format_name(format) << ' ' << shape.width << 'x'
            << shape.height;
      }
      if (colored(src.format())) {
        Image expected(Format::nv21, src.size());
        if (src.format() == Format::nv21) expected = Image(Format::nv12, src.size());
        if (src.format() == Format::nv12) expected = Image(Format::rgb24, src.size());
        ASSERT_EQ(mvk_convert(expected.view().record(), src.record()), MVK_OK);
        const Image result = morvik::convert(src, expected.format());
        EXPECT_EQ(std::memcmp(result.data(), expected.data(), expected.bytes()), 0);
      }
    }
  }
}

TEST(CppHeader, FollowsAMaskToItsOutlineAndBox) {
  const Image mask = morvik::fill_polygon({{20, 20}, {60, 24}, {40, 70}}, {100, 90});
  const std::optional<MKRect> box = morvik::bounding_box(mask);
  ASSERT_TRUE(box);
  EXPECT_EQ(box->left, 20u);
  EXPECT_EQ(box->bottom, 70u);
  EXPECT_FALSE(morvik::bounding_box(Image(Format::gray, {3, 3})));
  morvik::Outlines outlines = morvik::outlines(mask, {MK_OMODE_STROKE, 0});
  ASSERT_EQ(outlines.size(), 1u);
  std::vector<TPOINT> points;
  for (const morvik::Outline& outline : outlines) points.assign(outline.begin(), outline.end());
  const Image again = morvik::fill_polygon(points, {100, 90});
  EXPECT_EQ(std::memcmp(again.data(), mask.data(), mask.bytes()), 0);
  const morvik::Outlines moved = std::move(outlines);
  EXPECT_TRUE(outlines.empty());  // NOLINT: moved from on purpose
  EXPECT_EQ(moved[0].size(), points.size());
  EXPECT_TRUE(morvik::outlines(Image(Format::gray, {3, 3})).empty());
  Image photo(Format::rgb24, {300, 300});
  Image expected(Format::gray, {300, 300});
  ASSERT_EQ(mvk_make_mask_smooth(expected.view().record(), mask.view().record(),
                                 photo.view().record(), 1, 200),
            MVK_OK);
  const Image smooth = morvik::smooth_mask(photo, mask, {true, 200});
  EXPECT_EQ(std::memcmp(smooth.data(), expected.data(), expected.bytes()), 0);
}

TEST(CppHeader, ReadsAndWritesLandmarks) {
  const std::string path = testing::TempDir() + "cpp_header.txt";
  const std::vector<TPOINT> points{{1, 2}, {-3, 4}, {5, 6}};
  morvik::write_landmarks(path, points);
  EXPECT_EQ(morvik::read_landmarks<TPOINT>(path).size(), points.size());
  EXPECT_EQ(morvik::read_landmarks(path)[1].x, -3.0f);
  // A volume that is full: the file may have no more than a few bytes.
  rlimit before{};
  ASSERT_EQ(getrlimit(RLIMIT_FSIZE, &before), 0);
  const rlimit few{8, before.rlim_max};
  const auto handler = std::signal(SIGXFSZ, SIG_IGN);
  ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &few), 0);
  EXPECT_THROW(morvik::write_landmarks(path, points), morvik::Error);
  ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &before), 0);
  (void)std::signal(SIGXFSZ, handler);
  std::remove(path.c_str());
  const std::vector<TPOINT> face(106, TPOINT{5, 5});
  EXPECT_EQ(morvik::forehead(face, {100, 100}).size(), 11u);
}

TEST(CppHeader, HasTheDefaultsOfTheOtherBindings) {
  Image image(Format::gray, {30, 20});
  for (size_t i = 0; i < image.bytes(); ++i) image.data()[i] = static_cast<uint8_t>(i * i * 7);
  const Image usual = morvik::blur(image, {MKBlur::Bilateral, 5});
  const Image same = morvik::blur(image, {MKBlur::Bilateral, 5, 40, 40});
  const Image given = morvik::blur(image, {MKBlur::Bilateral, 5, 0, 0});
  EXPECT_EQ(std::memcmp(usual.data(), same.data(), same.bytes()), 0);
  EXPECT_NE(std::memcmp(usual.data(), given.data(), same.bytes()), 0);
  EXPECT_EQ(morvik::OutlineOptions{}.mode, uint32_t{MK_OMODE_STROKE});
}

TEST(CppHeader, TakesViewsSideBySideAndInPlace) {
  std::vector<uint8_t> memory(4096, 3);
  const morvik::View left(Format::gray, {16, 16}, memory.data(), 32);
  const morvik::View right(Format::gray, {16, 16}, memory.data() + 16, 32);
  morvik::copy(right, left);
  Image mask(Format::gray, {16, 16});
  morvik::morph(mask, mask, 2);
  morvik::fill_holes(mask, mask);
  morvik::blur(mask, mask);
}

TEST(CppHeader, ReportsWithoutExceptions) {
  const Image mask(Format::gray, {20, 10});
  Image out(Format::gray, {20, 10});
  std::error_code error;
  EXPECT_EQ(morvik::attempt(error, [&] { return morvik::rotate(mask, 45); }), std::nullopt);
  EXPECT_EQ(error, std::errc::invalid_argument);
  EXPECT_EQ(morvik::attempt(error, [&] { return morvik::rotate(mask, 90); })->size().width, 10);
  EXPECT_FALSE(error);
  EXPECT_FALSE(morvik::attempt(error, [&] { morvik::rotate(out, mask, 90); }));
  EXPECT_TRUE(error);
  EXPECT_TRUE(morvik::attempt(error, [&] { morvik::rotate(out, mask, 180); }));
}

// What is wrong, and words of the sentence that says so.
struct Refusal {
  const char* words;
  std::function<void()> call;
};

TEST(CppHeader, RefusesWithASentence) {
  std::vector<uint8_t> memory(4096);
  const Image mask(Format::gray, {20, 10});
  const Image photo(Format::rgb24, {40, 30});
  const Image frame(Format::nv21, {20, 10});
  const morvik::View padded(Format::gray, {20, 10}, memory.data(), 32);
  Image out(Format::gray, {20, 10});
  Image small(Format::gray, {19, 10});
  // clang-format off
  const std::vector<Refusal> refusals{
      {"a side has 1 to",
       [] {
         Image(Format::gray, {0, 4});
       }},
      {"less than 2 GiB",
       [] {
         Image(Format::argb, {40000, 40000});
       }},
      {"pitch of 19 for rows of 20",
       [&] {
         morvik::View(Format::gray, {20, 4}, memory.data(), 19);
       }},
      {"without its plane 0",
       [] {
         morvik::View(Format::gray, {2, 2}, nullptr);
       }},
      {"without its plane 1",
       [&] {
         morvik::View(Format::nv12, {2, 2}, memory.data());
       }},
      {"20 x 10 is needed", [&] { morvik::copy(small, mask); }},
      {"not GRAY",
       [&] {
         morvik::copy(Image(Format::argb, {20, 10}).view(), mask);
       }},
      {"no conversion from RGB24 to ABGR", [&] { (void)morvik::convert(photo, Format::abgr); }},
      {"no conversion from GRAY to GRAY", [&] { (void)morvik::convert(mask, Format::gray); }},
      {"20 x 10 is needed",
       [&] {
         morvik::convert(Image(Format::argb, {9, 9}).view(), mask);
       }},
      {"9 x 4 is odd",
       [&] {
         (void)morvik::resize(frame, {9, 4});
       }},
      {"10 x 20 is needed", [&] { morvik::rotate(out, mask, 90); }},
      {"not 45", [&] { (void)morvik::rotate(mask, 45); }},
      {"nothing would be written",
       [] {
         (void)morvik::rotate(Image(Format::nv21, {1, 4}), 90);
       }},
      {"nothing would be written",
       [] {
         (void)morvik::convert(Image(Format::gray, {1, 4}), Format::nv12);
       }},
      {"nothing would be written",
       [] {
         Image line(Format::nv12, {4, 1});
         morvik::copy(line.view(), line);
       }},
      {"overlaps", [&] { morvik::rotate(out, out, 180); }},
      {"overlaps",
       [&] {
         morvik::copy(padded, morvik::View(Format::gray, {20, 10}, memory.data() + 299, 32));
       }},
      {"overlaps",
       [&] {
         morvik::resize(padded, morvik::View(Format::gray, {9, 9}, memory.data() + 307, 400));
       }},
      {"overlaps",
       [&] {
         const morvik::View shared(Format::nv21, {20, 10}, memory.data(), 20, memory.data() + 199);
         morvik::convert(shared, Image(Format::rgb24, {20, 10}));
       }},
      {"overlaps",
       [&] {
         const morvik::View packed(Format::gray, {20, 10}, memory.data());
         morvik::morph(packed, morvik::View(Format::gray, {20, 10}, memory.data() + 199), 2);
       }},
      {"padded rows", [&] { morvik::rotate(padded, mask, 180); }},
      {"padded rows", [&] { morvik::morph(padded, mask, 2); }},
      {"smaller than the photograph",
       [&] {
         (void)morvik::smooth_mask(photo, Image(Format::gray, {40, 9}));
       }},
      {"limit is too small",
       [&] {
         (void)morvik::smooth_mask(photo, mask, {false, 5});
       }},
      {"the level is 255", [&] { (void)morvik::fill_holes(mask, 255); }},
      {"changes nothing", [&] { (void)morvik::morph(mask, 0); }},
      {"the amount is 201", [&] { (void)morvik::morph(mask, 201); }},
      {"does not take NV21", [&] { (void)morvik::blur(frame); }},
      {"an odd number",
       [&] {
         (void)morvik::blur(mask, {MKBlur::Mean, 4});
       }},
      {"the level is 0", [&] { (void)morvik::bounding_box(mask, 0); }},
      {"expand is 501",
       [&] {
         (void)morvik::outlines(mask, {0, 501});
       }},
      {"no center",
       [&] {
         (void)morvik::outlines(mask, {0, 1, 0, false, false, 1, TPOINT{}});
       }},
      {"107 landmarks",
       [] {
         (void)morvik::forehead(std::vector<TPOINT>(107), {9, 9});
       }},
      {"cannot be read", [] { (void)morvik::read_landmarks("/"); }},
      {"cannot be read", [] { (void)morvik::read_landmarks("/dev/null"); }},
      {"no regular file", [] { morvik::write_landmarks("/dev/full", std::vector<TPOINT>(1)); }},
      {"no regular file", [] { morvik::write_landmarks("/dev/null", std::vector<TPOINT>(1)); }},
      {"cannot be written",
       [] { morvik::write_landmarks("/nowhere/at/all", std::vector<TPOINT>(1)); }},
  };
  // clang-format on
  for (const Refusal& refusal : refusals) {
    try {
      refusal.call();
      ADD_FAILURE() << "accepted: " << refusal.words;
    } catch (const morvik::Error& error) {
      EXPECT_NE(std::string(error.what()).find(refusal.words), std::string::npos) << error.what();
    }
  }
}

}  // namespace
