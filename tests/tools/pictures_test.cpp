// Picture files: what goes in comes out, and damaged files are refused without a crash.
#include <gtest/gtest.h>
#include <png.h>

#include <array>

#include "pictures/codecs.h"
#include "pictures/failure.h"
#include "pictures/files.h"
#include "support/samples.h"

namespace {

using tool::Bytes;
using tool::Failure;
using tool::Picture;

const std::string kSamples = MORVIK_SAMPLES "/";

Picture random_picture(uint32_t format, tool::Size size) {
  Picture picture(format, size);
  test::Random random(7);
  for (int y = 0; y < picture.height(); ++y) {
    for (size_t i = 0; i < picture.row_bytes(); ++i) {
      picture.row(y)[i] = static_cast<uint8_t>(random.next());
    }
  }
  return picture;
}

TEST(Pictures, PngKeepsEveryByte) {
  for (const uint32_t format : {QX_FMT_GRAY, QX_FMT_RGB24, QX_FMT_ARGB}) {
    const Picture picture = random_picture(format, {37, 21});
    const Picture again = tool::decode_png(tool::encode_png(picture));
    EXPECT_EQ(again.format(), format);
    EXPECT_EQ(again.bytes(), picture.bytes()) << test::format_name(format);
  }
}

TEST(Pictures, PngHasItsColoursInTheirPlaces) {
  Picture picture(QX_FMT_ARGB, {1, 1});
  std::copy_n("\x10\x20\x30\x40", 4, picture.row(0));  // B G R A
  const Bytes file = tool::encode_png(picture);
  png_image png{};
  png.version = PNG_IMAGE_VERSION;
  ASSERT_NE(png_image_begin_read_from_memory(&png, file.data(), file.size()), 0);
  png.format = PNG_FORMAT_RGBA;
  std::array<uint8_t, 4> rgba{};
  ASSERT_NE(png_image_finish_read(&png, nullptr, rgba.data(), 0, nullptr), 0);
  EXPECT_EQ(rgba, (std::array<uint8_t, 4>{0x30, 0x20, 0x10, 0x40}));
}

TEST(Pictures, SamplesDecodeLikeTheLibrariesSay) {
  const test::TestImage photo = test::sample_photo("hopper.jpg");
  const Picture read = tool::read_picture(kSamples + "hopper.jpg");
  ASSERT_EQ(read.bytes().size(), photo.plane_size());
  EXPECT_TRUE(std::equal(read.bytes().begin(), read.bytes().end(), photo.row(0)));
  const test::TestImage mask = test::sample_mask("photographer.png");
  const Bytes bytes = tool::read_picture(kSamples + "photographer.png").bytes();
  ASSERT_EQ(bytes.size(), mask.plane_size());
  EXPECT_TRUE(std::equal(bytes.begin(), bytes.end(), mask.row(0)));
}

TEST(Pictures, JpegComesBackNearlyTheSame) {
  const Picture photo = tool::read_picture(kSamples + "hopper.jpg");
  const Picture again = tool::decode_jpeg(tool::encode_jpeg(photo));
  ASSERT_EQ(again.size(), photo.size());
  double difference = 0;
  for (size_t i = 0; i < photo.bytes().size(); ++i) {
    difference += std::abs(photo.bytes()[i] - again.bytes()[i]);
  }
  EXPECT_LT(difference / static_cast<double>(photo.bytes().size()), 3);
}

// Every cut is noticed; flipped bytes give a picture or a Failure, and nothing else.
TEST(Pictures, DamagedFilesAreRefused) {
  const Bytes png = tool::read_file(kSamples + "collins_mask_256x256.png");
  const Bytes jpeg = tool::read_file(kSamples + "hopper.jpg");
  for (const auto& [file, decode] :
       {std::pair{png, &tool::decode_png}, {jpeg, &tool::decode_jpeg}}) {
    for (size_t size = 0; size + 64 < file.size(); size += 1 + file.size() / 150) {
      EXPECT_THROW(decode({file.data(), size}), Failure) << "cut at " << size;
    }
    test::Random random(3);
    for (int i = 0; i < 300; ++i) {
      Bytes damaged = file;
      const int range = std::min(static_cast<int>(file.size()) - 1, i % 2 == 0 ? 400 : 1 << 30);
      for (int j = 0; j < 3; ++j) {
        damaged[static_cast<size_t>(random.range(0, range))] = static_cast<uint8_t>(random.next());
      }
      try {
        EXPECT_GT(decode(damaged).width(), 0);
      } catch (const Failure& failure) {
        EXPECT_STRNE(failure.what(), "");
      }
    }
  }
}

TEST(Pictures, RawFramesNeedTheRightNumberOfBytes) {
  const Bytes file(6 * 4 + 6 * 2);
  const tool::RawLayout nv21{QX_FMT_NV21, {5, 4}, 6};
  EXPECT_NO_THROW(tool::decode_raw(file, nv21));
  EXPECT_THROW(tool::decode_raw({file.data(), file.size() - 1}, nv21), Failure);
  EXPECT_THROW(tool::decode_raw(file, {QX_FMT_NV21, {5, 4}, 5}), Failure);  // pairs need 6 bytes
  EXPECT_THROW(tool::decode_raw(file, {QX_FMT_GRAY, {1 << 30, 1 << 30}, 0}), Failure);
}

}  // namespace
