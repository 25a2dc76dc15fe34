#include "core/convert_libyuv.h"

#include <libyuv.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <iterator>
#include <memory>

#include "core/pixel_region.h"

namespace kel::libyuv {
namespace {

// Images are converted tile by tile, because libyuv computes row lengths, and for packed images
// plane sizes, in int. Tiles start at even pixels, so that every chroma pair has its 2 x 2 pixels.
// They are descriptors, not planes: libyuv takes pointers and pitches in int.
constexpr int kTileColumns = 1 << 14;
constexpr int kTileBytes = 1 << 22;
// For the formats that are converted by way of ARGB; two rows of the widest tile fit.
constexpr int kScratchBytes = 1 << 17;
// On the stack and in the first cache; a row of the widest tile fits.
constexpr int kChromaScratchBytes = 1 << 14;

using Call = void (*)(const QX_OFFSCREEN& dst, const QX_OFFSCREEN& src, int width, int height);

template <auto Function>
void packed_to_packed(const QX_OFFSCREEN& dst, const QX_OFFSCREEN& src, int width, int height) {
  Function(src.plane[0], src.pitch[0], dst.plane[0], dst.pitch[0], width, height);
}

template <auto Function>
void nv_to_packed(const QX_OFFSCREEN& dst, const QX_OFFSCREEN& src, int width, int height) {
  Function(src.plane[0], src.pitch[0], src.plane[1], src.pitch[1], dst.plane[0], dst.pitch[0],
           width, height);
}

void swap_chroma(const QX_OFFSCREEN& dst, const QX_OFFSCREEN& src, int width, int height) {
  ::libyuv::NV21ToNV12(src.plane[0], src.pitch[0], src.plane[1], src.pitch[1], dst.plane[0],
                       dst.pitch[0], dst.plane[1], dst.pitch[1], width, height);
}

// The image without its first x columns and y rows; x is even, and y if the image is written in
// two planes.
QX_OFFSCREEN image_from(const QX_OFFSCREEN& image, int x, int y) {
  QX_OFFSCREEN rest = image;
  const ptrdiff_t row = y;
  rest.plane[0] +=
      row * image.pitch[0] + ptrdiff_t{x} * kel::imageprocess::bytes_per_pixel(image.format);
  if (kel::imageprocess::is_two_plane(image.format)) {
    rest.plane[1] += row / 2 * image.pitch[1] + x;
  }
  return rest;
}

// libyuv's own conversions to NV12 and NV21 crash when they get no memory for a row of chroma. They
// compute as the planar conversions do, which need none: a few rows at a time go through those.
template <auto ToPlanar, bool kVFirst>
void packed_to_nv(const QX_OFFSCREEN& dst, const QX_OFFSCREEN& src, int width, int height) {
  const int pairs = (width + 1) / 2;
  const int chroma_rows = kChromaScratchBytes / (2 * pairs);
  alignas(64) std::array<uint8_t, kChromaScratchBytes> scratch;
  uint8_t* const first = scratch.data();
  uint8_t* const second = first + kChromaScratchBytes / 2;
  uint8_t* const u = kVFirst ? second : first;
  uint8_t* const v = kVFirst ? first : second;
  for (int y = 0; y < height; y += 2 * chroma_rows) {
    const int rows = std::min(2 * chroma_rows, height - y);
    const QX_OFFSCREEN from = image_from(src, 0, y);
    const QX_OFFSCREEN to = image_from(dst, 0, y);
    ToPlanar(from.plane[0], from.pitch[0], to.plane[0], to.pitch[0], u, pairs, v, pairs, width,
             rows);
    ::libyuv::MergeUVPlane(first, pairs, second, pairs, to.plane[1], to.pitch[1], pairs,
                           (rows + 1) / 2);
  }
}

// libyuv has no RGB24 to NV12 or NV21: a few rows at a time go through ARGB.
template <bool kVFirst>
void rgb24_to_nv(const QX_OFFSCREEN& dst, const QX_OFFSCREEN& src, int width, int height) {
  const int pitch = 4 * width;
  const int rows = std::min(height, kScratchBytes / pitch & ~1);
  const auto scratch = std::make_unique_for_overwrite<uint8_t[]>(static_cast<size_t>(pitch) *
                                                                 static_cast<size_t>(rows));
  const QX_OFFSCREEN argb{QX_FMT_ARGB, width, rows, {scratch.get()}, {pitch}};
  for (int y = 0; y < height; y += rows) {
    const int count = std::min(rows, height - y);
    packed_to_packed<::libyuv::RGB24ToARGB>(argb, image_from(src, 0, y), width, count);
    packed_to_nv<::libyuv::ARGBToI420, kVFirst>(image_from(dst, 0, y), argb, width, count);
  }
}

struct Conversion {
  uint32_t dst;
  uint32_t src;
  bool takes_source_size;  // instead of the destination's
  Call call;
};

// libyuv names packed formats by little-endian words, as we do: its ARGB is B G R A in memory, its
// ABGR is R G B A, its RGB24 is B G R. RGB24 <- NV12 / NV21 converts as many pixels as the source
// has; callers rely on that.
constexpr Conversion kConversions[]{
    {QX_FMT_RGB24, QX_FMT_ARGB, false, packed_to_packed<::libyuv::ARGBToRGB24>},
    {QX_FMT_RGB24, QX_FMT_NV12, true, nv_to_packed<::libyuv::NV12ToRGB24>},
    {QX_FMT_RGB24, QX_FMT_NV21, true, nv_to_packed<::libyuv::NV21ToRGB24>},
    {QX_FMT_ARGB, QX_FMT_RGB24, false, packed_to_packed<::libyuv::RGB24ToARGB>},
    {QX_FMT_ARGB, QX_FMT_NV12, false, nv_to_packed<::libyuv::NV12ToARGB>},
    {QX_FMT_ARGB, QX_FMT_NV21, false, nv_to_packed<::libyuv::NV21ToARGB>},
    {QX_FMT_ABGR, QX_FMT_NV12, false, nv_to_packed<::libyuv::NV12ToABGR>},
    {QX_FMT_ABGR, QX_FMT_NV21, false, nv_to_packed<::libyuv::NV21ToABGR>},
    {QX_FMT_NV12, QX_FMT_RGB24, false, rgb24_to_nv<false>},
    {QX_FMT_NV12, QX_FMT_ARGB, false, packed_to_nv<::libyuv::ARGBToI420, false>},
    {QX_FMT_NV12, QX_FMT_ABGR, false, packed_to_nv<::libyuv::ABGRToI420, false>},
    {QX_FMT_NV12, QX_FMT_NV21, false, swap_chroma},
    {QX_FMT_NV21, QX_FMT_RGB24, false, rgb24_to_nv<true>},
    {QX_FMT_NV21, QX_FMT_ARGB, false, packed_to_nv<::libyuv::ARGBToI420, true>},
    {QX_FMT_NV21, QX_FMT_ABGR, false, packed_to_nv<::libyuv::ABGRToI420, true>},
    {QX_FMT_NV21, QX_FMT_NV12, false, swap_chroma},
};

// False where a row of the image reaches into the next one; the pitches may be that short.
bool holds_rows(const QX_OFFSCREEN& image, int width) {
  const int64_t pixels = width;
  if (image.pitch[0] < pixels * kel::imageprocess::bytes_per_pixel(image.format)) return false;
  return !kel::imageprocess::is_two_plane(image.format) || image.pitch[1] >= (pixels + 1) / 2 * 2;
}

// Rows that overlap are written one after the other, each as a whole.
int rows_of_tile(const QX_OFFSCREEN& dst, const QX_OFFSCREEN& src, int width) {
  if (!holds_rows(dst, width)) return kel::imageprocess::is_two_plane(dst.format) ? 2 : 1;
  const int pitch = std::max({dst.pitch[0], src.pitch[0], 1});
  return std::max(kTileBytes / pitch & ~1, 2);
}

void convert_by_tiles(Call call, const QX_OFFSCREEN& dst, const QX_OFFSCREEN& src, int width,
                      int height) {
  const int tile_rows = rows_of_tile(dst, src, width);
  for (int64_t y = 0; y < height; y += tile_rows) {
    for (int64_t x = 0; x < width; x += kTileColumns) {
      const int left = static_cast<int>(x);
      const int top = static_cast<int>(y);
      call(image_from(dst, left, top), image_from(src, left, top),
           std::min(kTileColumns, width - left), std::min(tile_rows, height - top));
    }
  }
}

}  // namespace

bool convert_pixel_format(QX_OFFSCREEN* dst, QX_OFFSCREEN* src) {
  const auto* conversion = std::find_if(
      std::begin(kConversions), std::end(kConversions), [&](const Conversion& candidate) {
        return candidate.dst == dst->format && candidate.src == src->format;
      });
  if (conversion == std::end(kConversions)) return false;
  const QX_OFFSCREEN& sized = conversion->takes_source_size ? *src : *dst;
  convert_by_tiles(conversion->call, *dst, *src, sized.width, sized.height);
  return true;
}

}  // namespace kel::libyuv
