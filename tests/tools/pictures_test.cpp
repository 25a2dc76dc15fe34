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
    EXPECT_EQ(tool::decode_png(file).picture.bytes(), picture.bytes()) << test::format_name(format);
  }
}

// Written in a fraction of libpng's time, for less than a tenth more bytes.
TEST(Pictures, PngFilesAreNotMuchLargerThanLibpngs) {
  for (const std::string name : {"hopper.jpg", "photographer.png", "collins_mask_256x256.png"}) {
    const Picture picture = tool::decode_picture(tool::read_file(kSamples + name)).picture;
    png_image png{};
    png.version = PNG_IMAGE_VERSION;
    png.width = static_cast<png_uint_32>(picture.width());
    png.height = static_cast<png_uint_32>(picture.height());
    png.format = picture.format() == QX_FMT_GRAY ? PNG_FORMAT_GRAY : PNG_FORMAT_BGR;
    png_alloc_size_t size = 0;
    ASSERT_NE(png_image_write_to_memory(&png, nullptr, &size, 0, picture.row(0), 0, nullptr), 0);
    EXPECT_LT(tool::encode_png(picture).size(), size * 11 / 10) << name;
    EXPECT_LT(tool::encode_png(picture, {}, {92, 12}).size(), size) << name;
  }
}

TEST(Pictures, JpegComesBackNearlyTheSame) {
  const test::TestImage photo = test::sample_photo("hopper.jpg");
  const Picture read = tool::decode_picture(tool::read_file(kSamples + "hopper.jpg")).picture;
  ASSERT_EQ(read.bytes(), Bytes(photo.row(0), photo.row(0) + photo.plane_size()));
  const Picture again = tool::decode_jpeg(tool::encode_jpeg(read)).picture;
  EXPECT_GT(cv::PSNR(read.bytes(), again.bytes()), 35);
}

TEST(Pictures, WebpKeepsWhatItShould) {
  for (const uint32_t format : {QX_FMT_GRAY, QX_FMT_RGB24, QX_FMT_ARGB}) {
    const test::TestImage noise(format, 37, 21);
    Picture picture(format, {37, 21});
    std::copy_n(noise.row(0), noise.plane_size(), picture.row(0));
    const Picture again = tool::decode_webp(tool::encode_webp(picture, {}, {100})).picture;
    ASSERT_EQ(again.format(), format == QX_FMT_GRAY ? QX_FMT_RGB24 : format);
    const size_t from = picture.row_bytes() / 37, to = again.row_bytes() / 37;
    for (size_t i = 0; i < 37 * 21; ++i) {
      const uint8_t* pixel = &picture.bytes()[from * i];
      ASSERT_TRUE(std::equal(pixel, pixel + from, &again.bytes()[to * i])) << i;
    }
  }
}

// libjpeg takes at most 255 times 65519 bytes.
TEST(Pictures, JpegsWithoutASoundProfileAreRead) {
  for (const size_t excess : {0u, 1u}) {
    Bytes icc(255 * 65519 + excess);
    std::copy_n("RGB ", 4, &icc[16]);
    Bytes file = tool::encode_jpeg(Picture(QX_FMT_RGB24, {9, 7}), {icc});
    const tool::Decoded whole = tool::decode_jpeg(file);
    EXPECT_EQ(whole.remark, "");
    EXPECT_TRUE(whole.color.icc == (excess == 0 ? icc : Bytes())) << excess;
    const std::string_view mark = "ICC_PROFILE";
    const auto marker = std::search(file.begin(), file.end(), mark.begin(), mark.end());
    if (excess == 1) {
      EXPECT_EQ(marker, file.end());
      continue;
    }
    marker[12] = 2;  // there are two second parts now, and no first
    const tool::Decoded broken = tool::decode_jpeg(file);
    EXPECT_EQ(broken.picture.bytes(), whole.picture.bytes());
    EXPECT_TRUE(broken.color.icc.empty());
    EXPECT_EQ(broken.remark, "its colour profile is broken and left out");
  }
}

// Every cut is noticed; flipped bytes give a picture or a Failure, and nothing else.
TEST(Pictures, DamagedFilesAreRefused) {
  const Bytes png = tool::read_file(kSamples + "collins_mask_256x256.png");
  const Bytes jpeg = tool::read_file(kSamples + "hopper.jpg");
  const Bytes webp = tool::encode_webp(tool::decode_jpeg(jpeg).picture);
  for (const auto& [file, decode] : {std::pair{png, &tool::decode_png},
                                     {jpeg, &tool::decode_jpeg},
                                     {webp, &tool::decode_webp}}) {
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

TEST(Pictures, TooLargeOnesAreNotCalledDamaged) {
  png_image png{};
  png.version = PNG_IMAGE_VERSION;
  png.width = 40'000;
  png.height = 2;
  png.format = PNG_FORMAT_GRAY;
  const Bytes pixels(80'000);
  Bytes file(80'000);
  png_alloc_size_t size = file.size();
  ASSERT_NE(png_image_write_to_memory(&png, file.data(), &size, 0, pixels.data(), 0, nullptr), 0);
  try {
    tool::decode_png({file.data(), size});
    ADD_FAILURE() << "it was read";
  } catch (const Failure& failure) {
    EXPECT_TRUE(std::string_view(failure.what()).starts_with("the size 40000x2 is not accepted"))
        << failure.what();
  }
}

// Frames as cameras deliver them: what is not a pixel never gets in.
TEST(Pictures, RawFramesOfAnyLayout) {
  struct Case {
    uint32_t format;
    bool i420;
    std::optional<int> stride, stride_uv;
    int gap;  // rows between brightness and chroma
    bool short_end;
  };
  const Case cases[] = {
      {QX_FMT_NV21, false, {}, {}, 0, false}, {QX_FMT_NV21, false, 48, {}, 0, true},
      {QX_FMT_NV12, false, 48, 64, 3, true},  {QX_FMT_NV12, true, {}, {}, 0, false},
      {QX_FMT_NV12, true, 48, {}, 0, true},   {QX_FMT_NV12, true, 48, 40, 2, false},
      {QX_FMT_ARGB, false, 160, {}, 0, true},
  };
  for (const Case& each : cases) {
    const test::TestImage image(each.format, 37, 21);
    const size_t planes = each.i420 ? 3 : static_cast<size_t>(tool::planes_of(each.format));
    const size_t pairs = 19, width = each.format == QX_FMT_ARGB ? 4 * 37 : 37;
    tool::RawLayout layout{each.format, each.i420, {37, 21}, each.stride, each.stride_uv, {}};
    Bytes frame;
    for (size_t plane = 0; plane < planes; ++plane) {
      const size_t row = plane == 0 ? width : (each.i420 ? pairs : 2 * pairs);
      size_t stride = static_cast<size_t>(each.stride.value_or(static_cast<int>(row)));
      if (plane > 0 && each.i420 && each.stride) stride = stride / 2;
      if (plane > 0 && each.stride_uv) stride = static_cast<size_t>(*each.stride_uv);
      for (int y = 0; y < (plane == 0 ? 21 : 11); ++y) {
        const uint8_t* from = image.row(y, plane == 0 ? 0 : 1);
        for (size_t x = 0; x < stride; ++x) {
          const size_t at = plane == 0 || !each.i420 ? x : 2 * x + plane - 1;
          frame.push_back(x < row ? from[at] : 0xEE);
        }
      }
      if (plane == 0 && each.gap > 0) {
        frame.resize(frame.size() + static_cast<size_t>(each.gap) * stride, 0xDD);
        layout.offset_uv = static_cast<int64_t>(frame.size());
      }
      if (plane + 1 == planes && each.short_end) frame.resize(frame.size() - (stride - row));
    }
    const Picture picture = tool::decode_raw(frame, layout);
    for (int plane = 0; plane < tool::planes_of(each.format); ++plane) {
      for (int y = 0; y < picture.rows(plane); ++y) {
        ASSERT_TRUE(std::equal(picture.row(y, plane),
                               picture.row(y, plane) + picture.row_bytes(plane),
                               image.row(y, plane)))
            << tool::describe(layout) << ", plane " << plane << ", row " << y;
      }
    }
    frame.pop_back();
    if (each.short_end || !each.stride) {
      EXPECT_THROW(tool::decode_raw(frame, layout), Failure);
    }
  }
}

}  // namespace
