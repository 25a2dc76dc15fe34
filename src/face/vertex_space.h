// Vertex space maps the pixels of an image to -1 ... +1, x to the right and y up: the centre of the
// top-left pixel is (-1, +1), that of the bottom-right one (+1, -1). Coordinates along a side of
// one pixel are not finite.
//
// Keep the order of operations and the fused ones: coordinates are truncated to pixels in the end,
// and other rounding moves some points by a pixel.
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
