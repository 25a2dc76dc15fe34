#include "core/copy.h"

#include <algorithm>
#include <cstring>

namespace kel::imageprocess {
namespace {

template <uint32_t Code>
void copy_single_plane(const KelPixelRegion& dst, const KelPixelRegion& src) {
  PixelRegion_<Code> to(dst);
  PixelRegion_<Code> from(src);
  // Row lengths are compared as 32-bit values; where they agree only so, the shorter row counts.
  if (static_cast<uint32_t>(to.plane.row_bytes) == static_cast<uint32_t>(from.plane.row_bytes)) {
    to.plane.row_bytes = from.plane.row_bytes = std::min(to.plane.row_bytes, from.plane.row_bytes);
  }
  copy_plane(to.plane, from.plane);
}

}  // namespace

bool copy_plane(Plane& dst, const Plane& src) {
  if (src.data == nullptr || dst.data == nullptr) return false;
  if (dst.rows != src.rows || dst.row_bytes != src.row_bytes) return false;
  if (src.rows < 1 || src.row_bytes < 1) return true;
  if (dst.is_packed() && src.is_packed()) {
    std::memcpy(dst.data, src.data, static_cast<size_t>(src.size));
    return true;
  }
  for (int64_t y = 0; y < src.rows; ++y) {
    std::memcpy(dst.row(y), src.row(y), static_cast<size_t>(src.row_bytes));
  }
  return true;
}

PixelRegion2P422_Impl& PixelRegion2P422_Impl::copy(const PixelRegion2P422_Impl& src) {
  width = even_part(src.width);
  if (&src == this) return *this;
  copy_plane(y, src.y);
  copy_plane(chroma, src.chroma);
  return *this;
}

void copy(KelPixelRegion dst, KelPixelRegion src) {
  switch (src.format) {
    case QX_FMT_RGB24:
      return copy_single_plane<QX_FMT_RGB24>(dst, src);
    case QX_FMT_ARGB:
      return copy_single_plane<QX_FMT_ARGB>(dst, src);
    case QX_FMT_GRAY:
      return copy_single_plane<QX_FMT_GRAY>(dst, src);
    case QX_FMT_NV12:
    case QX_FMT_NV21: {
      PixelRegion2P422_Impl to(dst);
      to.copy(PixelRegion2P422_Impl(src));
      return;
    }
    default:  // QX_FMT_ABGR has no copy
      return;
  }
}

}  // namespace kel::imageprocess
