// OpenCV matrix headers over planes, made nowhere else from descriptors. Headers own nothing.
#pragma once

#include <cstdint>
#include <opencv2/core/mat.hpp>

#include "core/pixel_region.h"

namespace kel {

// The type of plane 0; that of a chroma plane is CV_8UC2.
inline int matrix_type(uint32_t format) { return CV_8UC(imageprocess::bytes_per_pixel(format)); }

// Rows by pitch. An empty matrix when the plane cannot be a matrix: no pixels, or a pitch that is
// shorter than a row (descriptors with such a pitch pass the checks).
inline cv::Mat plane_mat(uint8_t* data, int32_t width, int32_t height, int64_t pitch, int type) {
  if (data == nullptr || width < 1 || height < 1) return {};
  if (pitch < static_cast<int64_t>(width) * CV_ELEM_SIZE(type)) return {};
  return cv::Mat(height, width, type, data, static_cast<size_t>(pitch));
}

inline cv::Mat first_plane_mat(const KelPixelRegion& region, int type) {
  return plane_mat(region.plane[0], region.width, region.height, region.pitch[0], type);
}

// Whole chroma pairs: the last column and row of odd sides have none.
inline cv::Mat chroma_mat(const KelPixelRegion& region) {
  return plane_mat(region.plane[1], region.width / 2, region.height / 2, region.pitch[1], CV_8UC2);
}

// Rows packed, whatever the pitch says: how the mask and outline operations see plane 0. The
// header is writable even if the region is a source: pass it only to operations that read it.
inline cv::Mat packed_mat(const KelPixelRegion& region, int type) {
  const int64_t row_bytes = int64_t{region.width} * CV_ELEM_SIZE(type);
  return plane_mat(region.plane[0], region.width, region.height, row_bytes, type);
}

}  // namespace kel
