#include <turbojpeg.h>

#include <memory>
#include <type_traits>

#include "pictures/codecs.h"
#include "pictures/failure.h"

namespace tool {
namespace {

constexpr int kQuality = 92;

struct Destroy {
  void operator()(void* handle) const { tjDestroy(handle); }
};
using Codec = std::unique_ptr<std::remove_pointer_t<tjhandle>, Destroy>;

// A file that makes the decoder warn has lost pixels: it is refused like any other damaged one. The
// limit on scans keeps small files from taking minutes.
constexpr int kDecodeFlags = TJFLAG_ACCURATEDCT | TJFLAG_STOPONWARNING | TJFLAG_LIMITSCANS;

[[noreturn]] void fail(const Codec& codec) {
  throw Failure("damaged JPEG: " + std::string(tjGetErrorStr2(codec.get())));
}

}  // namespace

bool is_jpeg(std::span<const uint8_t> file) {
  return file.size() >= 3 && file[0] == 0xFF && file[1] == 0xD8 && file[2] == 0xFF;
}

Picture decode_jpeg(std::span<const uint8_t> file) {
  const Codec codec(tjInitDecompress());
  if (codec == nullptr) throw std::bad_alloc();
  Size size;
  int subsampling = 0;
  int colorspace = 0;
  if (tjDecompressHeader3(codec.get(), file.data(), file.size(), &size.width, &size.height,
                          &subsampling, &colorspace) != 0) {
    fail(codec);
  }
  if (colorspace == TJCS_CMYK || colorspace == TJCS_YCCK) {
    throw Failure("the JPEG holds CMYK colours; gray and RGB files are read");
  }
  const bool gray = colorspace == TJCS_GRAY;
  check_size(size.width, size.height);
  Picture picture(gray ? QX_FMT_GRAY : QX_FMT_RGB24, size);
  if (tjDecompress2(codec.get(), file.data(), file.size(), picture.row(0), size.width, 0,
                    size.height, gray ? TJPF_GRAY : TJPF_BGR, kDecodeFlags) != 0) {
    fail(codec);
  }
  return picture;
}

Bytes encode_jpeg(const Picture& picture) {
  const bool gray = picture.format() == QX_FMT_GRAY;
  if (!gray && picture.format() != QX_FMT_RGB24) {
    throw Failure("a JPEG holds gray or rgb24 pixels; for transparency write a .png file");
  }
  const Codec codec(tjInitCompress());
  if (codec == nullptr) throw std::bad_alloc();
  unsigned char* memory = nullptr;
  unsigned long size = 0;
  const int failed = tjCompress2(codec.get(), picture.row(0), picture.width(), 0, picture.height(),
                                 gray ? TJPF_GRAY : TJPF_BGR, &memory, &size,
                                 gray ? TJSAMP_GRAY : TJSAMP_444, kQuality, TJFLAG_ACCURATEDCT);
  const std::unique_ptr<unsigned char, void (*)(unsigned char*)> owner(memory, tjFree);
  if (failed != 0) {
    throw Failure("the JPEG cannot be made: " + std::string(tjGetErrorStr2(codec.get())));
  }
  return {memory, memory + size};
}

}  // namespace tool
