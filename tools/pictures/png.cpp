#include <png.h>

#include <algorithm>

#include "pictures/codecs.h"
#include "pictures/failure.h"

namespace tool {
namespace {

// libpng's simplified interface: it keeps its long jumps to itself and limits what chunks may take.
struct PngImage : png_image {
  PngImage() : png_image{} { version = PNG_IMAGE_VERSION; }
  ~PngImage() { png_image_free(this); }
  PngImage(const PngImage&) = delete;
  PngImage& operator=(const PngImage&) = delete;

  [[noreturn]] void fail() const { throw Failure("damaged PNG: " + std::string(message)); }
};

uint32_t picture_format(png_uint_32 png_format) {
  if ((png_format & PNG_FORMAT_FLAG_ALPHA) != 0) return QX_FMT_ARGB;
  return (png_format & PNG_FORMAT_FLAG_COLOR) != 0 ? QX_FMT_RGB24 : QX_FMT_GRAY;
}

png_uint_32 png_format(uint32_t format) {
  switch (format) {
    case QX_FMT_GRAY:
      return PNG_FORMAT_GRAY;
    case QX_FMT_RGB24:
      return PNG_FORMAT_BGR;
    case QX_FMT_ARGB:
      return PNG_FORMAT_BGRA;
    default:
      throw Failure("a PNG holds gray, rgb24 or argb pixels");
  }
}

}  // namespace

bool is_png(std::span<const uint8_t> file) {
  return file.size() >= 8 && png_sig_cmp(file.data(), 0, 8) == 0;
}

Picture decode_png(std::span<const uint8_t> file) {
  PngImage png;
  if (png_image_begin_read_from_memory(&png, file.data(), file.size()) == 0) png.fail();
  check_size(png.width, png.height);
  png.flags |= PNG_IMAGE_FLAG_16BIT_sRGB;  // 16-bit files are not linear unless they say so
  Picture picture(picture_format(png.format),
                  {static_cast<int>(png.width), static_cast<int>(png.height)});
  png.format = png_format(picture.format());
  if (png_image_finish_read(&png, nullptr, picture.row(0), 0, nullptr) == 0) png.fail();
  return picture;
}

Bytes encode_png(const Picture& picture) {
  PngImage png;
  png.width = static_cast<png_uint_32>(picture.width());
  png.height = static_cast<png_uint_32>(picture.height());
  png.format = png_format(picture.format());
  png_alloc_size_t size = PNG_IMAGE_PNG_SIZE_MAX(png);
  Bytes file(size);
  if (png_image_write_to_memory(&png, file.data(), &size, 0, picture.row(0), 0, nullptr) == 0) {
    throw Failure("the PNG cannot be made: " + std::string(png.message));
  }
  file.resize(size);
  return file;
}

}  // namespace tool
