// What the library knows about each pixel format, one row per format.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <utility>

#include "morvik/morvik.h"

namespace kel::imageprocess {

struct FormatTraits {
  uint32_t code;
  const char* name;
  int planes;
  int bytes_per_pixel;  // of plane 0
  bool can_be_moved;    // copied, scaled, turned and warped; the others are only converted
};

inline constexpr std::array<FormatTraits, 6> kFormats{{
    {QX_FMT_RGB24, "RGB24", 1, 3, true},
    {QX_FMT_ARGB, "ARGB", 1, 4, true},
    {QX_FMT_ABGR, "ABGR", 1, 4, false},
    {QX_FMT_GRAY, "GRAY", 1, 1, true},
    {QX_FMT_NV12, "NV12", 2, 1, true},
    {QX_FMT_NV21, "NV21", 2, 1, true},
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

constexpr bool can_be_moved(uint32_t code) {
  const FormatTraits* format = find_format(code);
  return format != nullptr && format->can_be_moved;
}

// Bytes of one pixel in plane 0; 1 for a code that is not a format.
constexpr int bytes_per_pixel(uint32_t code) {
  const FormatTraits* format = find_format(code);
  return format != nullptr ? format->bytes_per_pixel : 1;
}

// Calls function<Code>() for the format that can be moved and has this code; nothing for others.
template <typename Function>
constexpr void with_movable_format(uint32_t code, Function function) {
  const auto call_if = [&]<uint32_t Code>() {
    if constexpr (can_be_moved(Code)) {
      if (code == Code) function.template operator()<Code>();
    }
  };
  const auto call_among = [&]<size_t... Row>(std::index_sequence<Row...>) {
    (call_if.template operator()<kFormats[Row].code>(), ...);
  };
  call_among(std::make_index_sequence<kFormats.size()>());
}

// The part of a side that chroma pairs cover.
constexpr int32_t even_part(int32_t side) { return side & ~1; }

}  // namespace kel::imageprocess
