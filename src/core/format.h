// What the library knows about each pixel format, one row per format.
#pragma once

#include <array>
#include <cstdint>

#include "morvik/morvik.h"

namespace kel::imageprocess {

struct FormatTraits {
  uint32_t code;
  const char* name;
  int planes;
  int bytes_per_pixel;  // of plane 0
};

inline constexpr std::array<FormatTraits, 6> kFormats{{
    {QX_FMT_RGB24, "RGB24", 1, 3},
    {QX_FMT_ARGB, "ARGB", 1, 4},
    {QX_FMT_ABGR, "ABGR", 1, 4},
    {QX_FMT_GRAY, "GRAY", 1, 1},
    {QX_FMT_NV12, "NV12", 2, 1},
    {QX_FMT_NV21, "NV21", 2, 1},
}};

// Null for a code that is not a format.
constexpr const FormatTraits* find_format(uint32_t code) {
  for (const FormatTraits& format : kFormats) {
    if (format.code == code) return &format;
  }
  return nullptr;
}

constexpr bool is_two_plane(uint32_t code) {
  const FormatTraits* format = find_format(code);
  return format != nullptr && format->planes == 2;
}

// Bytes of one pixel in plane 0; 1 for a code that is not a format.
constexpr int bytes_per_pixel(uint32_t code) {
  const FormatTraits* format = find_format(code);
  return format != nullptr ? format->bytes_per_pixel : 1;
}

// The part of a side that chroma pairs cover.
constexpr int32_t even_part(int32_t side) { return side & ~1; }

}  // namespace kel::imageprocess
