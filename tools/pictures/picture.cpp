#include "pictures/picture.h"

#include <algorithm>

#include "core/format.h"
#include "pictures/failure.h"

namespace tool {
namespace {

using kel::imageprocess::FormatTraits;
using kel::imageprocess::kFormats;

const FormatTraits& traits_of(uint32_t code) {
  if (const FormatTraits* format = kel::imageprocess::find_format(code)) return *format;
  throw Failure("there is no pixel format with code " + std::to_string(code));
}

std::string lower_case(std::string text) {
  std::transform(text.begin(), text.end(), text.begin(),
                 [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
  return text;
}

}  // namespace

std::string format_name(uint32_t code) { return lower_case(traits_of(code).name); }

int planes_of(uint32_t code) { return traits_of(code).planes; }

uint32_t find_format(std::string_view name) {
  for (const FormatTraits& format : kFormats) {
    if (lower_case(format.name) == name) return format.code;
  }
  return 0;
}

std::vector<std::string> format_names() {
  std::vector<std::string> names;
  for (const FormatTraits& format : kFormats) names.push_back(lower_case(format.name));
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
  if (planes_of(format) == 2) {
    bytes_.resize(luma + row_bytes(1) * static_cast<size_t>(rows(1)), 128);
  }
}

size_t Picture::row_bytes(int plane) const {
  const size_t width = static_cast<size_t>(size_.width);
  return plane == 0 ? width * static_cast<size_t>(traits_of(format_).bytes_per_pixel)
                    : (width + 1) / 2 * 2;
}

int Picture::rows(int plane) const { return plane == 0 ? size_.height : (size_.height + 1) / 2; }

const uint8_t* Picture::row(int y, int plane) const {
  const size_t start = plane == 0 ? 0 : row_bytes() * static_cast<size_t>(rows());
  return bytes_.data() + start + row_bytes(plane) * static_cast<size_t>(y);
}

uint8_t* Picture::row(int y, int plane) {
  return const_cast<uint8_t*>(static_cast<const Picture&>(*this).row(y, plane));
}

morvik::View Picture::view() {
  return {static_cast<morvik::Format>(format_), {width(), height()}, row(0), 0, row(0, 1)};
}

morvik::ConstView Picture::view() const {
  return {static_cast<morvik::Format>(format_), {width(), height()}, row(0), 0, row(0, 1)};
}

bool profile_fits(const Bytes& icc, uint32_t format) {
  constexpr size_t kHeader = 128;
  constexpr size_t kColorSpace = 16;
  if (icc.size() < kHeader) return false;
  const std::string_view wanted = format == QX_FMT_GRAY ? "GRAY" : "RGB ";
  return std::equal(wanted.begin(), wanted.end(), icc.begin() + kColorSpace);
}

}  // namespace tool
