#include "pictures/picture.h"

#include "pictures/failure.h"

namespace tool {

const std::vector<Format> kFormats{
    {"rgb24", QX_FMT_RGB24, 3, 1}, {"argb", QX_FMT_ARGB, 4, 1}, {"abgr", QX_FMT_ABGR, 4, 1},
    {"gray", QX_FMT_GRAY, 1, 1},   {"nv12", QX_FMT_NV12, 1, 2}, {"nv21", QX_FMT_NV21, 1, 2},
};

const Format& format_of(uint32_t code) {
  for (const Format& format : kFormats) {
    if (format.code == code) return format;
  }
  throw Failure("there is no pixel format with code " + std::to_string(code));
}

const Format* find_format(std::string_view name) {
  for (const Format& format : kFormats) {
    if (format.name == name) return &format;
  }
  return nullptr;
}

std::vector<std::string> format_names() {
  std::vector<std::string> names;
  for (const Format& format : kFormats) names.emplace_back(format.name);
  return names;
}

std::string to_string(Size size) {
  return std::to_string(size.width) + "x" + std::to_string(size.height);
}

void check_size(int64_t width, int64_t height) {
  if (width >= 1 && height >= 1 && width <= kMaxSide && height <= kMaxSide &&
      width * height <= kMaxPixels) {
    return;
  }
  throw Failure("the size " + std::to_string(width) + "x" + std::to_string(height) +
                " is not accepted; a side has 1 to " + std::to_string(kMaxSide) +
                " pixels, a picture at most 100 million");
}

Picture::Picture(uint32_t format, Size size) : format_(format), size_(size) {
  check_size(size.width, size.height);
  const size_t luma = row_bytes() * static_cast<size_t>(rows());
  bytes_.resize(luma);
  if (format_of(format).planes == 2) {
    bytes_.resize(luma + row_bytes(1) * static_cast<size_t>(rows(1)), 128);
  }
}

size_t Picture::row_bytes(int plane) const {
  const size_t width = static_cast<size_t>(size_.width);
  return plane == 0 ? width * format_of(format_).bytes_per_pixel : (width + 1) / 2 * 2;
}

int Picture::rows(int plane) const { return plane == 0 ? size_.height : (size_.height + 1) / 2; }

const uint8_t* Picture::row(int y, int plane) const {
  const size_t start = plane == 0 ? 0 : row_bytes() * static_cast<size_t>(rows());
  return bytes_.data() + start + row_bytes(plane) * static_cast<size_t>(y);
}

uint8_t* Picture::row(int y, int plane) {
  return const_cast<uint8_t*>(static_cast<const Picture&>(*this).row(y, plane));
}

QX_OFFSCREEN Picture::view() const {
  QX_OFFSCREEN image{};
  image.format = format_;
  image.width = size_.width;
  image.height = size_.height;
  for (int plane = 0; plane < format_of(format_).planes; ++plane) {
    image.plane[plane] = const_cast<uint8_t*>(row(0, plane));
    image.pitch[plane] = static_cast<int32_t>(row_bytes(plane));
  }
  return image;
}

}  // namespace tool
