#include "core/turn.h"

#include "core/copy.h"
#include "core/gray_rotate_any.h"
#include "core/kernels/reverse_row.h"
#include "core/kernels/transpose.h"
#include "core/saturate.h"

namespace kel::imageprocess {
namespace {

enum class Turn { kOther, kNone, kClockwise, kHalf, kAnticlockwise };

Turn decode_angle(float angle) {
  switch (saturate_to_int32(angle)) {
    case 0:
    case 360:
      return Turn::kNone;
    case 90:
    case -270:
      return Turn::kClockwise;
    case 180:
    case -180:
      return Turn::kHalf;
    case 270:
    case -90:
      return Turn::kAnticlockwise;
    default:
      return Turn::kOther;
  }
}

// The plane as if its rows were packed, whatever the pitch.
Plane packed(const Plane& plane) {
  return {plane.data, plane.row_bytes, plane.rows, plane.row_bytes};
}

//   clockwise      dst(x, y) = src(y, H - 1 - x)          the transpose of src upside down
//   half           dst(x, y) = src(W - 1 - x, H - 1 - y)
//   anticlockwise  dst(x, y) = src(W - 1 - y, x)          the transpose into dst upside down
void turn_plane(Plane& dst, const Plane& src, Turn turn, int element_bytes) {
  const int64_t width = src.row_bytes / element_bytes;
  const int64_t height = src.rows;
  if (dst.data == nullptr || src.data == nullptr || width < 1 || height < 1) return;
  const int64_t turned_width = turn == Turn::kHalf ? width : height;
  const int64_t turned_height = turn == Turn::kHalf ? height : width;
  if (dst.row_bytes != turned_width * element_bytes || dst.rows != turned_height) return;
  const auto dst_pitch = static_cast<ptrdiff_t>(dst.pitch);
  const auto src_pitch = static_cast<ptrdiff_t>(src.pitch);
  if (turn == Turn::kHalf) {
    for (int64_t y = 0; y < height; ++y) {
      reverse_row(dst.row(y), src.row(height - 1 - y), width, element_bytes);
    }
  } else if (turn == Turn::kClockwise) {
    transpose(dst.data, dst_pitch, src.row(height - 1), -src_pitch, width, height, element_bytes);
  } else if (dst.pitch < dst.row_bytes) {  // rows that overlap are written from top to bottom
    for (int64_t y = 0; y < width; ++y) {
      transpose(dst.row(y), dst_pitch, src.data + (width - 1 - y) * element_bytes, src_pitch, 1,
                height, element_bytes);
    }
  } else {
    transpose(dst.row(width - 1), -dst_pitch, src.data, src_pitch, width, height, element_bytes);
  }
}

}  // namespace

template <uint32_t Code>
void rotate(PixelRegion_<Code>& dst, const PixelRegion_<Code>& src, Point2D_<float> centre,
            float angle) {
  const Turn turn = decode_angle(angle);
  if constexpr (is_two_plane(Code)) {
    if (turn == Turn::kNone) dst.copy(src);
    if (turn <= Turn::kNone) return;
    Plane y = packed(dst.y);
    Plane chroma = packed(dst.chroma);
    turn_plane(y, packed(src.y), turn, 1);
    turn_plane(chroma, packed(src.chroma), turn, 2);
  } else {
    if (turn == Turn::kNone) {
      dst.width = src.width;
      copy_plane(dst.plane, src.plane);
    } else if constexpr (Code == QX_FMT_GRAY) {
      if (turn == Turn::kOther) return gray_rotate_any(dst, src, centre, angle);
      Plane to = packed(dst.plane);
      turn_plane(to, packed(src.plane), turn, 1);
    } else if (turn != Turn::kOther) {
      turn_plane(dst.plane, src.plane, turn, src.kBytesPerPixel);
    }
  }
}

template void rotate(PixelRegion_<QX_FMT_RGB24>&, const PixelRegion_<QX_FMT_RGB24>&,
                     Point2D_<float>, float);
template void rotate(PixelRegion_<QX_FMT_ARGB>&, const PixelRegion_<QX_FMT_ARGB>&, Point2D_<float>,
                     float);
template void rotate(PixelRegion_<QX_FMT_GRAY>&, const PixelRegion_<QX_FMT_GRAY>&, Point2D_<float>,
                     float);
template void rotate(PixelRegion_<QX_FMT_NV12>&, const PixelRegion_<QX_FMT_NV12>&, Point2D_<float>,
                     float);
template void rotate(PixelRegion_<QX_FMT_NV21>&, const PixelRegion_<QX_FMT_NV21>&, Point2D_<float>,
                     float);

}  // namespace kel::imageprocess

namespace kel::imgproc {

void rotate_90s(KelPixelRegion& dst, const KelPixelRegion& src, int angle, Point2D_<float> centre) {
  kel::imageprocess::with_movable_format(src.format, [&]<uint32_t Code>() {
    using View = kel::imageprocess::PixelRegion_<Code>;
    View to(dst);
    kel::imageprocess::rotate(to, View(src), centre, static_cast<float>(angle));
  });
}

}  // namespace kel::imgproc
