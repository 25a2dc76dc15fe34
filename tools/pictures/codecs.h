// Picture files in memory. Decoders take any bytes: what is damaged, too large or of an unknown
// kind gives a Failure, never a half-read picture.
#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "pictures/picture.h"

namespace tool {

using Bytes = std::vector<uint8_t>;

// GRAY, RGB24, or ARGB where the file has transparency.
bool is_png(std::span<const uint8_t> file);
Picture decode_png(std::span<const uint8_t> file);
Bytes encode_png(const Picture& picture);  // GRAY, RGB24 or ARGB

// GRAY or RGB24. Orientation tags are not looked at.
bool is_jpeg(std::span<const uint8_t> file);
Picture decode_jpeg(std::span<const uint8_t> file);
Bytes encode_jpeg(const Picture& picture);  // GRAY or RGB24

// Pixels without a header; rows of both planes are `stride` bytes apart, 0 means packed.
struct RawLayout {
  uint32_t format = QX_FMT_GRAY;
  Size size;
  int stride = 0;
};
Picture decode_raw(std::span<const uint8_t> file, const RawLayout& layout);

}  // namespace tool
