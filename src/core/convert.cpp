// Conversions to and from gray, as rows of a table.
#include "core/convert.h"

#include <algorithm>
#include <cstring>
#include <opencv2/imgproc.hpp>

#include "core/convert_colour.h"
#include "core/copy.h"
#include "core/kernels/gray_from_colour_row.h"
#include "core/mat_view.h"

namespace kel::imageprocess {
namespace {

constexpr int kNeutralChroma = 128;

// Calls row(dst row, src row, pixels) for as much of both images as dst has.
template <typename Row>
void for_rows_of(const KelPixelRegion& dst, const KelPixelRegion& src, Row row) {
  Plane to = first_plane(dst);
  const int64_t row_bytes = int64_t{dst.width} * bytes_per_pixel(src.format);
  for_each_row(to, Plane(src.plane[0], row_bytes, dst.height, src.pitch[0]), dst.width, row);
}

template <uint32_t Code>
void colour_to_gray(const KelPixelRegion& dst, const KelPixelRegion& src) {
  for_rows_of(dst, src, [](uint8_t* to, const uint8_t* from, int64_t count) {
    gray_from_colour_row(to, from, count, bytes_per_pixel(Code));
  });
}

// The gray value three times; a fourth byte is 255.
template <int kBytes>
void colour_from_gray_row(uint8_t* dst, const uint8_t* src, int64_t count) {
  for (int64_t x = 0; x < count; ++x, dst += kBytes) {
    std::memset(dst, src[x], 3);
    if (kBytes == 4) dst[3] = 255;
  }
}

// OpenCV's loop runs at the speed of memory and on several cores; rows that overlap, because their
// pitch is too short, have to be written one after the other.
template <uint32_t Code>
void gray_to_colour(const KelPixelRegion& dst, const KelPixelRegion& src) {
  constexpr int kBytes = bytes_per_pixel(Code);
  cv::Mat to = first_plane_mat(dst, matrix_type(Code));
  const cv::Mat from = plane_mat(src.plane[0], dst.width, dst.height, src.pitch[0], CV_8UC1);
  if (to.empty() || from.empty()) {
    for_rows_of(dst, src, colour_from_gray_row<kBytes>);
  } else {
    cv::cvtColor(from, to, kBytes == 3 ? cv::COLOR_GRAY2BGR : cv::COLOR_GRAY2BGRA);
  }
}

void luminance_to_gray(const KelPixelRegion& dst, const KelPixelRegion& src) {
  PixelRegion_<QX_FMT_GRAY> gray(dst);
  const PixelRegion_<QX_FMT_GRAY> luminance(src);
  copy_rows(gray.plane, luminance.plane);
}

// Sets row_bytes chroma bytes of each row from first_byte on. A row whose fill passes its pitch
// sets the first byte of the next one; nothing behind the plane is written.
void gray_to_nv(const KelPixelRegion& dst, const KelPixelRegion& src, int64_t first_byte) {
  PixelRegion2P422_Impl nv(dst);
  for (int64_t y = 0; y < nv.chroma.rows; ++y) {
    const int64_t plane_left = nv.chroma.size - y * nv.chroma.pitch - first_byte;
    const int64_t count = std::min(nv.chroma.row_bytes, plane_left);
    if (count > 0) {
      std::memset(nv.chroma.row(y) + first_byte, kNeutralChroma, static_cast<size_t>(count));
    }
  }
  const PixelRegion_<QX_FMT_GRAY> gray(src);
  copy_rows(nv.y, gray.plane);
}

// For NV12 the fill starts at the second byte of a row and so leaves the first U as it was. Results
// that are stored and compared depend on it: deliberate, and for NV12 only.
void gray_to_nv12(const KelPixelRegion& dst, const KelPixelRegion& src) { gray_to_nv(dst, src, 1); }
void gray_to_nv21(const KelPixelRegion& dst, const KelPixelRegion& src) { gray_to_nv(dst, src, 0); }

struct GrayConversion {
  uint32_t dst;
  uint32_t src;
  void (*convert)(const KelPixelRegion& dst, const KelPixelRegion& src);
};

constexpr GrayConversion kGrayConversions[]{
    {QX_FMT_GRAY, QX_FMT_RGB24, colour_to_gray<QX_FMT_RGB24>},
    {QX_FMT_GRAY, QX_FMT_ARGB, colour_to_gray<QX_FMT_ARGB>},
    {QX_FMT_GRAY, QX_FMT_NV12, luminance_to_gray},
    {QX_FMT_GRAY, QX_FMT_NV21, luminance_to_gray},
    {QX_FMT_RGB24, QX_FMT_GRAY, gray_to_colour<QX_FMT_RGB24>},
    {QX_FMT_ARGB, QX_FMT_GRAY, gray_to_colour<QX_FMT_ARGB>},
    {QX_FMT_NV12, QX_FMT_GRAY, gray_to_nv12},
    {QX_FMT_NV21, QX_FMT_GRAY, gray_to_nv21},
};

void convert_gray(const KelPixelRegion& dst, const KelPixelRegion& src) {
  for (const GrayConversion& conversion : kGrayConversions) {
    if (conversion.dst == dst.format && conversion.src == src.format) {
      return conversion.convert(dst, src);
    }
  }
}

}  // namespace

void convert_pixel_format(KelPixelRegion& dst, const KelPixelRegion& src) {
  if (dst.format == src.format) return copy(dst, src);
  if (dst.format == QX_FMT_GRAY || src.format == QX_FMT_GRAY) return convert_gray(dst, src);
  convert_colour(dst, src);
}

template <>
void convert_pixel_format<QX_FMT_NV21, QX_FMT_GRAY>(PixelRegion_<QX_FMT_GRAY>& dst,
                                                    const PixelRegion_<QX_FMT_NV21>& src) {
  copy_rows(dst.plane, src.y);
}

}  // namespace kel::imageprocess
