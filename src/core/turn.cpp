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

// Elements of a plane, their rows `stride` bytes apart.
template <typename Byte>
struct Grid {
  Byte* data;
  int64_t stride;
  int64_t width;
  int64_t height;
};

template <typename Byte>
Grid<Byte> packed_grid(Byte* data, int64_t width, int64_t height, int element_bytes) {
  return {data, width * element_bytes, width, height};
}

bool has_turned_size(const Grid<uint8_t>& dst, const Grid<const uint8_t>& src, Turn turn) {
  if (turn == Turn::kHalf) return dst.width == src.width && dst.height == src.height;
  return dst.width == src.height && dst.height == src.width;
}

//   clockwise      dst(x, y) = src(y, H - 1 - x)          the transpose of src upside down
//   half           dst(x, y) = src(W - 1 - x, H - 1 - y)
//   anticlockwise  dst(x, y) = src(W - 1 - y, x)          the transpose into dst upside down
void turn_grid(Grid<uint8_t> dst, Grid<const uint8_t> src, Turn turn, int element_bytes) {
  if (dst.data == nullptr || src.data == nullptr || src.width < 1 || src.height < 1) return;
  if (!has_turned_size(dst, src, turn)) return;
  if (turn == Turn::kHalf) {
    for (int64_t y = 0; y < src.height; ++y) {
      reverse_row(dst.data + y * dst.stride, src.data + (src.height - 1 - y) * src.stride,
                  src.width, element_bytes);
    }
    return;
  }
  if (turn == Turn::kClockwise) {
    src.data += (src.height - 1) * src.stride;
    src.stride = -src.stride;
  } else {
    dst.data += (dst.height - 1) * dst.stride;
    dst.stride = -dst.stride;
  }
  transpose(dst.data, dst.stride, src.data, src.stride, src.width, src.height, element_bytes);
}

// Rows are packed here, whatever the pitches say: gray images are masks, and masks are packed.
void turn_gray(PixelRegion_<QX_FMT_GRAY>& dst, const PixelRegion_<QX_FMT_GRAY>& src, Turn turn) {
  turn_grid(packed_grid(dst.plane.data, dst.plane.row_bytes, dst.plane.rows, 1),
            packed_grid<const uint8_t>(src.plane.data, src.plane.row_bytes, src.plane.rows, 1),
            turn, 1);
}

// Packed rows as for gray: the even part of Y, then chroma pairs as elements of 2 bytes.
void turn_nv(PixelRegion2P422_Impl& dst, const PixelRegion2P422_Impl& src, Turn turn) {
  turn_grid(packed_grid(dst.y.data, dst.y.row_bytes, dst.y.rows, 1),
            packed_grid<const uint8_t>(src.y.data, src.y.row_bytes, src.y.rows, 1), turn, 1);
  turn_grid(
      packed_grid(dst.chroma.data, dst.chroma.row_bytes / 2, dst.chroma.rows, 2),
      packed_grid<const uint8_t>(src.chroma.data, src.chroma.row_bytes / 2, src.chroma.rows, 2),
      turn, 2);
}

template <uint32_t Code>
void turn_by_pitch(PixelRegion_<Code>& dst, const PixelRegion_<Code>& src, Turn turn) {
  turn_grid({dst.plane.data, dst.plane.pitch, int64_t{dst.width}, dst.plane.rows},
            {src.plane.data, src.plane.pitch, int64_t{src.width}, src.plane.rows}, turn,
            src.kBytesPerPixel);
}

}  // namespace

template <uint32_t Code>
void rotate(PixelRegion_<Code>& dst, const PixelRegion_<Code>& src, Point2D_<float> centre,
            float angle) {
  const Turn turn = decode_angle(angle);
  if constexpr (is_two_plane(Code)) {
    if (turn == Turn::kNone) dst.copy(src);
    if (turn > Turn::kNone) turn_nv(dst, src, turn);
  } else {
    if (turn == Turn::kNone) {
      dst.width = src.width;
      copy_plane(dst.plane, src.plane);
    } else if constexpr (Code == QX_FMT_GRAY) {
      if (turn == Turn::kOther) return gray_rotate_any(dst, src, centre, angle);
      turn_gray(dst, src, turn);
    } else if (turn != Turn::kOther) {
      turn_by_pitch(dst, src, turn);
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
namespace {

template <uint32_t Code>
void rotate_views(const KelPixelRegion& dst, const KelPixelRegion& src, int angle,
                  Point2D_<float> centre) {
  using View = kel::imageprocess::PixelRegion_<Code>;
  View to(dst);
  kel::imageprocess::rotate(to, View(src), centre, static_cast<float>(angle));
}

}  // namespace

void rotate_90s(KelPixelRegion& dst, const KelPixelRegion& src, int angle, Point2D_<float> centre) {
  switch (src.format) {
    case QX_FMT_RGB24:
      return rotate_views<QX_FMT_RGB24>(dst, src, angle, centre);
    case QX_FMT_ARGB:
      return rotate_views<QX_FMT_ARGB>(dst, src, angle, centre);
    case QX_FMT_GRAY:
      return rotate_views<QX_FMT_GRAY>(dst, src, angle, centre);
    case QX_FMT_NV12:
      return rotate_views<QX_FMT_NV12>(dst, src, angle, centre);
    case QX_FMT_NV21:
      return rotate_views<QX_FMT_NV21>(dst, src, angle, centre);
    default:  // QX_FMT_ABGR has no turn
      return;
  }
}

}  // namespace kel::imgproc
