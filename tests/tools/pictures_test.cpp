// Picture files: what goes in comes out, and damaged files are refused without a crash.
#include <gtest/gtest.h>
#include <png.h>

#include <opencv2/core.hpp>

#include "pictures/codecs.h"
#include "pictures/failure.h"
#include "pictures/files.h"
#include "support/samples.h"

namespace {

using tool::Bytes;
using tool::Failure;
using tool::Picture;

const std::string kSamples = MORVIK_SAMPLES "/";

TEST(Pictures, PngKeepsEveryByteInItsPlace) {
  for (const auto& [format, in_memory] : {std::pair{QX_FMT_GRAY, PNG_FORMAT_GRAY},
                                          {QX_FMT_RGB24, PNG_FORMAT_BGR},
                                          {QX_FMT_ARGB, PNG_FORMAT_BGRA}}) {
    const test::TestImage noise(format, 37, 21);
    Picture picture(format, {37, 21});
    std::copy_n(noise.row(0), noise.plane_size(), picture.row(0));
    const Bytes file = tool::encode_png(picture);
    png_image png{};
    png.version = PNG_IMAGE_VERSION;
    ASSERT_NE(png_image_begin_read_from_memory(&png, file.data(), file.size()), 0);
    png.format = static_cast<png_uint_32>(in_memory);
    Bytes pixels(PNG_IMAGE_SIZE(png));
    ASSERT_NE(png_image_finish_read(&png, nullptr, pixels.data(), 0, nullptr), 0);
    EXPECT_EQ(pixels, picture.bytes()) << test::format_name(format);
    EXPECT_EQ(tool::decode_png(file).bytes(), picture.bytes()) << test::format_name(format);
  }
}

TEST(Pictures, JpegComesBackNearlyTheSame) {
  const test::TestImage photo = test::sample_photo("hopper.jpg");
  const Picture read = tool::read_picture(kSamples + "hopper.jpg");
  ASSERT_EQ(read.bytes(), Bytes(photo.row(0), photo.row(0) + photo.plane_size()));
  const Picture again = tool::decode_jpeg(tool::encode_jpeg(read));
  EXPECT_GT(cv::PSNR(read.bytes(), again.bytes()), 35);
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
      const size_t range = i % 2 == 0 ? 400 : file.size();
      for (int j = 0; j < 3; ++j) {
        damaged[random.next() % range] = static_cast<uint8_t>(random.next());
      }
      try {
        decode(damaged);
      } catch (const Failure&) {
      }
    }
  }
}

}  // namespace
