#include "core/copy.h"

#include <algorithm>
#include <cstring>

namespace kel::imageprocess {
namespace {

void copy_single_plane(Plane dst, Plane src) {
  // Row lengths are compared modulo 2^32; if they agree only modulo 2^32, the
  // shorter one is copied.
  if (static_cast<uint32_t>(dst.row_bytes) == static_cast<uint32_t>(src.row_bytes)) {
    dst.row_bytes = src.row_bytes = std::min(dst.row_bytes, src.row_bytes);
  }
  copy_plane(dst, src);
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
  copy_rows(dst, src);
  return true;
}

void copy_rows(Plane& dst, const Plane& src) {
  if (dst.row_bytes < 1) return;
  for (int64_t y = 0; y < dst.rows; ++y) {
    std::memmove(dst.row(y), src.row(y), static_cast<size_t>(dst.row_bytes));
  }
}

PixelRegion2P422_Impl& PixelRegion2P422_Impl::copy(const PixelRegion2P422_Impl& src) {
  width = even_part(src.width);
  if (&src == this) return *this;
  copy_plane(y, src.y);
  copy_plane(chroma, src.chroma);
  return *this;
}

void copy(KelPixelRegion dst, KelPixelRegion src) {
  if (!can_be_moved(src.format)) return;
  dst.format = src.format;  // both are seen as the source's format
  if (is_two_plane(src.format)) {
    PixelRegion2P422_Impl(dst).copy(PixelRegion2P422_Impl(src));
  } else {
    copy_single_plane(first_plane(dst), first_plane(src));
  }
}

}  // namespace kel::imageprocess
