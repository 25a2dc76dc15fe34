// Conversions between colour formats, as rows of a table.
#include "core/convert_colour.h"

#include <algorithm>
#include <cstring>
#include <iterator>

#include "core/kernels/alpha.h"
#include "core/kernels/colour_from_nv.h"
#include "core/kernels/nv_from_colour.h"
#include "core/kernels/swap_pairs.h"

namespace kel::imageprocess {
namespace {

struct Size {
  int64_t width;
  int64_t height;
};
using Call = void (*)(const KelPixelRegion& dst, const KelPixelRegion& src, Size size);

// What is converted, which is not the whole of either image when their sizes differ.
Plane plane_of(const KelPixelRegion& image, Size size) {
  return {image.plane[0], size.width * bytes_per_pixel(image.format), size.height, image.pitch[0]};
}

// Whole chroma planes, with a pair for an odd last column and a row for an odd last row.
Plane chroma_of(const KelPixelRegion& nv, Size size) {
  return {nv.plane[1], (size.width + 1) / 2 * 2, (size.height + 1) / 2, nv.pitch[1]};
}

template <auto Row>
void by_rows(const KelPixelRegion& dst, const KelPixelRegion& src, Size size) {
  Plane to = plane_of(dst, size);
  const Plane from = plane_of(src, size);
  for_each_row(to, from, size.width, Row);
}

// Calls convert(first row, second row) for every two rows; a last one that is alone is both.
template <typename Convert>
void for_row_pairs(int64_t height, Convert convert) {
  for (int64_t y = 0; y < height; y += 2) convert(y, std::min(y + 1, height - 1));
}

ColourOrder order_of(const KelPixelRegion& colour, const KelPixelRegion& nv) {
  return {bytes_per_pixel(colour.format), colour.format == QX_FMT_ABGR, nv.format == QX_FMT_NV21};
}

void colour_to_nv(const KelPixelRegion& dst, const KelPixelRegion& src, Size size) {
  Plane luma = plane_of(dst, size);
  Plane chroma = chroma_of(dst, size);
  const Plane colour = plane_of(src, size);
  for_row_pairs(size.height, [&](int64_t a, int64_t b) {
    uint8_t* const to[2] = {luma.row(a), luma.row(b)};
    const uint8_t* const from[2] = {colour.row(a), colour.row(b)};
    nv_from_colour(to, chroma.row(a / 2), from, size.width, order_of(src, dst));
  });
}

void nv_to_colour(const KelPixelRegion& dst, const KelPixelRegion& src, Size size) {
  Plane colour = plane_of(dst, size);
  const Plane luma = plane_of(src, size);
  const Plane chroma = chroma_of(src, size);
  const ColourOrder order = order_of(dst, src);
  const auto convert = [&](int64_t a, int64_t b) {
    uint8_t* const to[2] = {colour.row(a), colour.row(b)};
    const uint8_t* const from[2] = {luma.row(a), luma.row(b)};
    colour_from_nv(to, from, chroma.row(a / 2), size.width, order);
  };
  const bool rows_overlap = colour.pitch < size.width * order.bytes_per_pixel;
  for_row_pairs(size.height, [&](int64_t a, int64_t b) {
    if (!rows_overlap) return convert(a, b);
    convert(a, a);
    if (b != a) convert(b, b);
  });
}

void copy_bytes(uint8_t* dst, const uint8_t* src, int64_t count) {
  std::memcpy(dst, src, static_cast<size_t>(count));
}

void swap_chroma(const KelPixelRegion& dst, const KelPixelRegion& src, Size size) {
  Plane luma = plane_of(dst, size);
  for_each_row(luma, plane_of(src, size), size.width, copy_bytes);
  Plane chroma = chroma_of(dst, size);
  for_each_row(chroma, chroma_of(src, size), chroma.row_bytes / 2, swap_pairs);
}

struct Conversion {
  uint32_t dst;
  uint32_t src;
  bool takes_source_size;  // instead of the destination's
  Call call;
};

// RGB24 <- NV12 / NV21 converts as many pixels as the source has; callers rely on that.
constexpr Conversion kConversions[]{
    {QX_FMT_RGB24, QX_FMT_ARGB, false, by_rows<rgb24_from_argb_row>},
    {QX_FMT_RGB24, QX_FMT_NV12, true, nv_to_colour},
    {QX_FMT_RGB24, QX_FMT_NV21, true, nv_to_colour},
    {QX_FMT_ARGB, QX_FMT_RGB24, false, by_rows<argb_from_rgb24_row>},
    {QX_FMT_ARGB, QX_FMT_NV12, false, nv_to_colour},
    {QX_FMT_ARGB, QX_FMT_NV21, false, nv_to_colour},
    {QX_FMT_ABGR, QX_FMT_NV12, false, nv_to_colour},
    {QX_FMT_ABGR, QX_FMT_NV21, false, nv_to_colour},
    {QX_FMT_NV12, QX_FMT_RGB24, false, colour_to_nv},
    {QX_FMT_NV12, QX_FMT_ARGB, false, colour_to_nv},
    {QX_FMT_NV12, QX_FMT_ABGR, false, colour_to_nv},
    {QX_FMT_NV12, QX_FMT_NV21, false, swap_chroma},
    {QX_FMT_NV21, QX_FMT_RGB24, false, colour_to_nv},
    {QX_FMT_NV21, QX_FMT_ARGB, false, colour_to_nv},
    {QX_FMT_NV21, QX_FMT_ABGR, false, colour_to_nv},
    {QX_FMT_NV21, QX_FMT_NV12, false, swap_chroma},
};

}  // namespace

void convert_colour(const KelPixelRegion& dst, const KelPixelRegion& src) {
  const auto* conversion = std::find_if(
      std::begin(kConversions), std::end(kConversions), [&](const Conversion& candidate) {
        return candidate.dst == dst.format && candidate.src == src.format;
      });
  if (conversion == std::end(kConversions)) return;
  const KelPixelRegion& sized = conversion->takes_source_size ? src : dst;
  conversion->call(dst, src, {sized.width, sized.height});
}

}  // namespace kel::imageprocess
