// Views of the caller's pixels. A view is a value on the stack of one call: it knows where the
// rows of a plane start and how long they are. Views built from a descriptor own nothing.
#pragma once

#include <cstddef>
#include <cstdint>
#include <type_traits>
#include <utility>

#include "core/format.h"
#include "morvik/morvik.h"

// A descriptor held by value: same fields, same order. Operations on whole images take it.
using KelPixelRegion = QX_OFFSCREEN;

namespace kel::imageprocess {

// One plane of bytes; row() gives the address of a row.
struct Plane {
  uint8_t* data = nullptr;
  bool owns = false;      // data came from new[]; the view deletes it
  int64_t size = 0;       // pitch * rows
  int64_t row_bytes = 0;  // bytes of a row without its padding
  int64_t rows = 0;
  int64_t pitch = 0;  // bytes between row starts

  Plane() = default;
  Plane(uint8_t* start, int64_t bytes_per_row, int64_t row_count, int64_t row_pitch)
      : data(start),
        size(row_pitch * row_count),
        row_bytes(bytes_per_row),
        rows(row_count),
        pitch(row_pitch) {}
  Plane(const Plane&) = delete;
  Plane& operator=(const Plane&) = delete;
  Plane(Plane&& other) noexcept { swap(other); }
  Plane& operator=(Plane&& other) noexcept {
    swap(other);
    return *this;
  }
  ~Plane() {
    if (owns) delete[] data;
  }

  // Not const: the pixels of a const view are const.
  uint8_t* row(int64_t y) {  // NOLINT(readability-make-member-function-const)
    return data + y * pitch;
  }
  const uint8_t* row(int64_t y) const { return data + y * pitch; }
  bool is_packed() const { return pitch == row_bytes; }

 private:
  void swap(Plane& other) noexcept {
    std::swap(data, other.data);
    std::swap(owns, other.owns);
    std::swap(size, other.size);
    std::swap(row_bytes, other.row_bytes);
    std::swap(rows, other.rows);
    std::swap(pitch, other.pitch);
  }
};

// Calls row(dst row, src row, elements) for every row of dst; for all rows at once where neither
// has padding. Both planes are of as many elements in a row.
template <typename Row>
void for_each_row(Plane& dst, const Plane& src, int64_t elements, Row row) {
  if (dst.is_packed() && src.is_packed()) return row(dst.data, src.data, elements * dst.rows);
  for (int64_t y = 0; y < dst.rows; ++y) row(dst.row(y), src.row(y), elements);
}

// Plane 0 of a region. For two-plane formats all of Y, including an odd last row and column.
inline Plane first_plane(const KelPixelRegion& region) {
  return {region.plane[0], int64_t{region.width} * bytes_per_pixel(region.format), region.height,
          region.pitch[0]};
}

// View of a single-plane image, typed by its format code.
template <uint32_t Code>
struct PixelRegion_ {
  static_assert(find_format(Code) != nullptr && !is_two_plane(Code));
  static constexpr int kBytesPerPixel = bytes_per_pixel(Code);

  Plane plane;
  uint32_t width;  // pixels; the height is plane.rows

  explicit PixelRegion_(const KelPixelRegion& region)
      : plane(region.plane[0], int64_t{region.width} * kBytesPerPixel, region.height,
              region.pitch[0]),
        width(static_cast<uint32_t>(region.width)) {}
};

// View of the even part of a Y plane and its interleaved chroma plane. NV12 and NV21 share it: only
// the format code tells the order within a chroma pair.
struct PixelRegion2P422_Impl {
  Plane own;  // for views that bring their own memory; empty when built from a descriptor
  Plane y;
  Plane chroma;
  int32_t width;  // pixels, even

  explicit PixelRegion2P422_Impl(const KelPixelRegion& region)
      : y(region.plane[0], even_part(region.width), even_part(region.height), region.pitch[0]),
        chroma(region.plane[1], even_part(region.width), region.height / 2, region.pitch[1]),
        width(even_part(region.width)) {}

  // Copies each plane whose size agrees, whether or not the other one does.
  PixelRegion2P422_Impl& copy(const PixelRegion2P422_Impl& src);
};

template <>
struct PixelRegion_<QX_FMT_NV12> : PixelRegion2P422_Impl {
  using PixelRegion2P422_Impl::PixelRegion2P422_Impl;
};
template <>
struct PixelRegion_<QX_FMT_NV21> : PixelRegion2P422_Impl {
  using PixelRegion2P422_Impl::PixelRegion2P422_Impl;
};

}  // namespace kel::imageprocess
