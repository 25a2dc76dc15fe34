#include "core/gray_rotate_any.h"

#include <algorithm>
#include <cmath>

#include "core/saturate.h"

namespace kel::imageprocess {
namespace {

constexpr double kMinusRadiansPerDegree = -0.017453292519943295;

// One axis of the destination in coordinates about the centre: the first sample and how many of
// them fit. Whatever the centre is, there are never more than the destination has pixels.
struct Samples {
  int64_t first;
  int64_t count;
};

Samples samples_along(float start, int64_t size) {
  const float end = start + static_cast<float>(size - 1);
  const int64_t first = saturate_to_int32(start);
  int64_t count = 0;
  while (count < size && static_cast<float>(first + count) <= end) ++count;
  return {first, count};
}

// The pixels of the source along one axis, in coordinates about the centre.
struct Bounds {
  float low;
  float high;
  float centre;
  int64_t size;

  Bounds(int64_t pixels, float about)
      : low(-about), high(static_cast<float>(pixels - 1) - about), centre(about), size(pixels) {}

  // The pixel that a coordinate falls on, -1 outside. With a far centre rounding can move the
  // bounds beyond the last pixel, hence the second test.
  int64_t pixel(double at) const {
    if (!(at >= low && at <= high)) return -1;
    const int64_t index = saturate_to_int32(at + centre);
    return index < size ? index : -1;
  }
};

float half(int64_t size) { return static_cast<float>(static_cast<double>(size) * 0.5); }

}  // namespace

void gray_rotate_any(PixelRegion_<QX_FMT_GRAY>& dst, const PixelRegion_<QX_FMT_GRAY>& src,
                     Point2D_<float> centre, float angle) {
  const double theta = angle * kMinusRadiansPerDegree;
  // The C library's last bit decides about pixels here; no exported function comes this way.
  const double s = std::sin(theta);
  const double c = std::cos(theta);
  const int64_t src_width = src.plane.row_bytes;
  const int64_t dst_width = dst.plane.row_bytes;
  const Bounds across(src_width, centre.x);
  const Bounds down(src.plane.rows, centre.y);
  const Samples columns = samples_along((half(src_width) - half(dst_width)) - centre.x, dst_width);
  const Samples rows =
      samples_along((half(src.plane.rows) - half(dst.plane.rows)) - centre.y, dst.plane.rows);
  for (int64_t r = 0; r < rows.count; ++r) {
    const auto y = static_cast<double>(rows.first + r);
    uint8_t* out = dst.plane.row(r);
    for (int64_t column = 0; column < columns.count; ++column) {
      const auto x = static_cast<double>(columns.first + column);
      const int64_t from_x = across.pixel(x * c - y * s);
      const int64_t from_y = down.pixel(x * s + y * c);
      out[column] = from_x < 0 || from_y < 0 ? 0 : src.plane.row(from_y)[from_x];
    }
  }
}

}  // namespace kel::imageprocess
