// The argument checks that the exported functions share. Each returns a result code; an entry
// returns the first that is not MVK_OK, before any pixel is read or written.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <initializer_list>

#include "core/format.h"
#include "morvik/morvik.h"

namespace mvk::api {

// Pixel formats that a function accepts.
class FormatSet {
 public:
  constexpr FormatSet(std::initializer_list<uint32_t> codes) {
    for (const uint32_t code : codes) add(code);
  }
  constexpr bool has(uint32_t code) const {
    for (size_t i = 0; i < count_; ++i) {
      if (codes_[i] == code) return true;
    }
    return false;
  }
  constexpr void add(uint32_t code) { codes_[count_++] = code; }

 private:
  std::array<uint32_t, kel::imageprocess::kFormats.size()> codes_{};
  size_t count_ = 0;
};

// Rows of the format table.
template <typename Predicate>
constexpr FormatSet formats_where(Predicate accepts) {
  FormatSet set{};
  for (const kel::imageprocess::FormatTraits& format : kel::imageprocess::kFormats) {
    if (accepts(format)) set.add(format.code);
  }
  return set;
}

inline constexpr FormatSet kAnyFormat = formats_where([](const auto&) { return true; });
inline constexpr FormatSet kMovableFormats =
    formats_where([](const auto& format) { return format.can_be_moved; });
inline constexpr FormatSet kGray{QX_FMT_GRAY};
inline constexpr FormatSet kRgb24{QX_FMT_RGB24};
inline constexpr FormatSet kGrayOrRgb24{QX_FMT_GRAY, QX_FMT_RGB24};

// Null records and null first planes, before any other check.
[[nodiscard]] inline uint32_t check_planes(std::initializer_list<const QX_OFFSCREEN*> images) {
  for (const QX_OFFSCREEN* image : images) {
    if (image == nullptr || image->plane[0] == nullptr) return MVK_BAD_ARGUMENT;
  }
  return MVK_OK;
}

// Sizes, pitches, format and chroma plane of one image whose record and first plane exist. The
// pitch is compared with the width in pixels for every format: callers rely on that.
[[nodiscard]] inline uint32_t check_image(const QX_OFFSCREEN& image, FormatSet accepted) {
  if (image.width < 1 || image.height < 1) return MVK_BAD_ARGUMENT;
  if (image.pitch[0] < image.width) return MVK_BAD_ARGUMENT;
  if (!accepted.has(image.format)) return MVK_BAD_ARGUMENT;
  if (kel::imageprocess::is_two_plane(image.format) &&
      (image.pitch[1] < image.width || image.plane[1] == nullptr)) {
    return MVK_BAD_ARGUMENT;
  }
  return MVK_OK;
}

// Both images of an operation; all checks of the source come first.
[[nodiscard]] inline uint32_t check_pair(const QX_OFFSCREEN* dst, const QX_OFFSCREEN* src,
                                         FormatSet accepted) {
  if (const uint32_t code = check_planes({src, dst}); code != MVK_OK) return code;
  if (const uint32_t code = check_image(*src, accepted); code != MVK_OK) return code;
  return check_image(*dst, accepted);
}

[[nodiscard]] inline uint32_t check_same_size(const QX_OFFSCREEN& a, const QX_OFFSCREEN& b) {
  return a.width == b.width && a.height == b.height ? MVK_OK : MVK_BAD_ARGUMENT;
}

[[nodiscard]] inline uint32_t check_same_format(const QX_OFFSCREEN& a, const QX_OFFSCREEN& b) {
  return a.format == b.format ? MVK_OK : MVK_BAD_ARGUMENT;
}

}  // namespace mvk::api
