// Vertex space: an image of w x h pixels as -1 ... +1, with x to the right and y up. The centre of
// pixel 0 lies at -1 across and +1 down, the centre of the last one at the other end. A side of 1
// has no such range; its coordinates are not finite.
//
// The factors and the fused operations are part of the result: coordinates are truncated to pixels
// in the end, and another rounding moves some of them by one.
#pragma once

#include <cmath>
#include <cstdint>
#include <vector>

#include "core/geometry_types.h"

namespace mvk::face {

// The pixel of one vertex.
inline kel::Point2D_<float> vertex_to_pixel(kel::Point2D_<float> vertex, uint32_t width,
                                            uint32_t height) {
  const float last_column = static_cast<float>(width - 1);
  const float last_row = static_cast<float>(height - 1);
  const float x = std::fma(vertex.x, last_column, static_cast<float>(width));
  const float y = std::fma(vertex.y, last_row, static_cast<float>(height));
  return {std::fma(x, 0.5F, -0.5F), std::fma(y, -0.5F, last_row + 0.5F)};
}

// Built for T = float. Both return as many points as they are given.
template <typename T>
std::vector<kel::Point2D_<T>> convert_landmarks_to_vertexs(
    const std::vector<kel::Point2D_<T>>& points, uint32_t width, uint32_t height);
template <typename T>
std::vector<kel::Point2D_<T>> convert_vertexs_to_landmarks(
    const std::vector<kel::Point2D_<T>>& vertexs, uint32_t width, uint32_t height);

}  // namespace mvk::face
