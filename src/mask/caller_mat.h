// The caller's planes as the mask operations see them: packed, and not copied without need.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>

#include "core/mat_view.h"

namespace kel::mask {

inline size_t packed_size(const KelPixelRegion& region) {
  return static_cast<size_t>(region.width) * static_cast<size_t>(region.height) *
         static_cast<size_t>(imageprocess::bytes_per_pixel(region.format));
}

// src for a filter that writes dst: a header over the caller's memory, or a copy of it if the
// planes overlap, which few filters allow.
inline cv::Mat source_mat(const KelPixelRegion& src, const KelPixelRegion& dst, int type) {
  const cv::Mat view = packed_mat(src, type);
  const std::less<const uint8_t*> before;
  const bool apart = !before(src.plane[0], dst.plane[0] + packed_size(dst)) ||
                     !before(dst.plane[0], src.plane[0] + packed_size(src));
  return apart ? view : view.clone();
}

}  // namespace kel::mask
