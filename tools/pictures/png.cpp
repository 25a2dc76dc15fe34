#include <png.h>

#include <algorithm>
#include <csetjmp>
#include <cstring>

#include "pictures/codecs.h"
#include "pictures/failure.h"

namespace tool {
namespace {

// libpng's state for reading or writing, and the bytes on the other side.
class Png {
 public:
  static constexpr int kRead = 0;
  static constexpr int kWrite = 1;

  explicit Png(int direction)
      : direction_(direction),
        png_(direction == kRead ? png_create_read_struct(PNG_LIBPNG_VER_STRING, this, fail, warn)
                                : png_create_write_struct(PNG_LIBPNG_VER_STRING, this, fail, warn)),
        info_(png_ == nullptr ? nullptr : png_create_info_struct(png_)) {
    if (info_ == nullptr) throw std::bad_alloc();
    png_set_user_limits(png_, kMaxSide, kMaxSide);
  }
  ~Png() {
    if (direction_ == kRead) {
      png_destroy_read_struct(&png_, &info_, nullptr);
    } else {
      png_destroy_write_struct(&png_, &info_);
    }
  }
  Png(const Png&) = delete;
  Png& operator=(const Png&) = delete;

  png_structp png() const { return png_; }
  png_infop info() const { return info_; }

  // Runs calls of libpng, which leave by a long jump when they fail: they must not have anything
  // on the stack that needs a destructor.
  template <class Calls>
  void run(const char* what, Calls calls) {
    if (setjmp(png_jmpbuf(png_)) != 0) throw Failure(what + std::string(message_));
    calls();
  }

 private:
  static void fail(png_structp png, png_const_charp message) {
    auto* self = static_cast<Png*>(png_get_error_ptr(png));
    std::strncpy(self->message_, message, sizeof(self->message_) - 1);
    png_longjmp(png, 1);
  }
  static void warn(png_structp, png_const_charp) {}

  int direction_;
  png_structp png_;
  png_infop info_;
  char message_[128] = {};
};

constexpr const char* kDamaged = "damaged PNG: ";

void read_bytes(png_structp png, png_bytep to, size_t count) {
  auto& rest = *static_cast<std::span<const uint8_t>*>(png_get_io_ptr(png));
  if (rest.size() < count) png_error(png, "the file is cut off");
  std::memcpy(to, rest.data(), count);
  rest = rest.subspan(count);
}

void write_bytes(png_structp png, png_bytep from, size_t count) {
  bool done = false;
  try {
    auto& file = *static_cast<Bytes*>(png_get_io_ptr(png));
    file.insert(file.end(), from, from + count);
    done = true;
  } catch (const std::bad_alloc&) {
    done = false;
  }
  if (!done) png_error(png, "out of memory");
}

void flush_nothing(png_structp) {}

// Eight bits a value, no palette; gray with alpha becomes coloured with alpha.
void expand(png_structp png, png_infop info) {
  png_set_scale_16(png);
  png_set_expand(png);
  png_set_bgr(png);
  const bool alpha = (png_get_color_type(png, info) & PNG_COLOR_MASK_ALPHA) != 0 ||
                     png_get_valid(png, info, PNG_INFO_tRNS) != 0;
  if (alpha) png_set_gray_to_rgb(png);
  png_set_interlace_handling(png);
  png_read_update_info(png, info);
}

uint32_t format_of_channels(png_byte channels) {
  if (channels == 4) return QX_FMT_ARGB;
  return channels == 3 ? QX_FMT_RGB24 : QX_FMT_GRAY;
}

ColorTags color_of(const Png& png) {
  ColorTags color;
  char* name = nullptr;
  int method = 0;
  png_bytep icc = nullptr;
  png_uint_32 size = 0;
  if (png_get_iCCP(png.png(), png.info(), &name, &method, &icc, &size) != 0) {
    color.icc.assign(icc, icc + size);
  }
  png_fixed_point gamma = 0;
  if (color.icc.empty() && png_get_valid(png.png(), png.info(), PNG_INFO_sRGB) == 0 &&
      png_get_gAMA_fixed(png.png(), png.info(), &gamma) != 0) {
    color.gamma = gamma;
  }
  return color;
}

int orientation_of(const Png& png) {
  png_uint_32 size = 0;
  png_bytep exif = nullptr;
  if (png_get_eXIf_1(png.png(), png.info(), &size, &exif) == 0) return 1;
  return exif_orientation({exif, size});
}

int png_type(uint32_t format) {
  switch (format) {
    case QX_FMT_GRAY:
      return PNG_COLOR_TYPE_GRAY;
    case QX_FMT_RGB24:
      return PNG_COLOR_TYPE_RGB;
    case QX_FMT_ARGB:
      return PNG_COLOR_TYPE_RGB_ALPHA;
    default:
      throw Failure("a PNG holds gray, rgb24 or argb pixels");
  }
}

void set_compression(png_structp png, int level) {
  if (level == 0) {
    png_set_compression_level(png, 1);
    png_set_filter(png, PNG_FILTER_TYPE_BASE, PNG_FILTER_SUB);
  } else {
    png_set_compression_level(png, level);
  }
}

void write_tags(const Png& png, const ColorTags& color, uint32_t format) {
  if (profile_fits(color.icc, format)) {
    png_set_iCCP(png.png(), png.info(), "icc", PNG_COMPRESSION_TYPE_BASE, color.icc.data(),
                 static_cast<png_uint_32>(color.icc.size()));
  } else if (color.gamma > 0) {
    png_set_gAMA_fixed(png.png(), png.info(), color.gamma);
  }
}

}  // namespace

bool is_png(std::span<const uint8_t> file) {
  return file.size() >= 8 && png_sig_cmp(file.data(), 0, 8) == 0;
}

Decoded decode_png(std::span<const uint8_t> file) {
  Png png(Png::kRead);
  png.run(kDamaged, [&] {
    png_set_read_fn(png.png(), &file, read_bytes);
    png_read_info(png.png(), png.info());
  });
  const Size size{static_cast<int>(png_get_image_width(png.png(), png.info())),
                  static_cast<int>(png_get_image_height(png.png(), png.info()))};
  check_size(size.width, size.height);
  png.run(kDamaged, [&] { expand(png.png(), png.info()); });
  Decoded result{Picture(format_of_channels(png_get_channels(png.png(), png.info())), size)};
  std::vector<png_bytep> rows;
  for (int y = 0; y < size.height; ++y) rows.push_back(result.picture.row(y));
  png.run(kDamaged, [&] {
    png_read_image(png.png(), rows.data());
    png_read_end(png.png(), png.info());
  });
  result.color = color_of(png);
  result.orientation = orientation_of(png);
  return result;
}

Bytes encode_png(const Picture& picture, const ColorTags& color, const Encoding& how) {
  const int type = png_type(picture.format());
  Png png(Png::kWrite);
  Bytes file;
  png.run("the PNG cannot be made: ", [&] {
    png_set_benign_errors(png.png(), 1);  // a profile that libpng dislikes is left out
    png_set_write_fn(png.png(), &file, write_bytes, flush_nothing);
    set_compression(png.png(), how.png_level);
    png_set_IHDR(png.png(), png.info(), static_cast<png_uint_32>(picture.width()),
                 static_cast<png_uint_32>(picture.height()), 8, type, PNG_INTERLACE_NONE,
                 PNG_COMPRESSION_TYPE_BASE, PNG_FILTER_TYPE_BASE);
    write_tags(png, color, picture.format());
    png_write_info(png.png(), png.info());
    png_set_bgr(png.png());
    for (int y = 0; y < picture.height(); ++y) png_write_row(png.png(), picture.row(y));
    png_write_end(png.png(), png.info());
  });
  return file;
}

}  // namespace tool
