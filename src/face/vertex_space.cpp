#include "face/vertex_space.h"

namespace mvk::face {

template <typename T>
std::vector<kel::Point2D_<T>> convert_landmarks_to_vertexs(
    const std::vector<kel::Point2D_<T>>& points, uint32_t width, uint32_t height) {
  const T one(1);
  const T two(2);
  const T last_row = static_cast<T>(height - 1);
  const T per_column = one / static_cast<T>(width - 1);
  const T per_row = one / last_row;
  std::vector<kel::Point2D_<T>> vertexs;
  vertexs.reserve(points.size());
  for (const kel::Point2D_<T>& point : points) {
    vertexs.push_back({(one - static_cast<T>(width) + two * point.x) * per_column,
                       (one - static_cast<T>(height) + two * (last_row - point.y)) * per_row});
  }
  return vertexs;
}

template <typename T>
std::vector<kel::Point2D_<T>> convert_vertexs_to_landmarks(
    const std::vector<kel::Point2D_<T>>& vertexs, uint32_t width, uint32_t height) {
  std::vector<kel::Point2D_<T>> points;
  points.reserve(vertexs.size());
  for (const kel::Point2D_<T>& vertex : vertexs) {
    points.push_back(vertex_to_pixel(vertex, width, height));
  }
  return points;
}

template std::vector<kel::Point2D_<float>> convert_landmarks_to_vertexs<float>(
    const std::vector<kel::Point2D_<float>>&, uint32_t, uint32_t);
template std::vector<kel::Point2D_<float>> convert_vertexs_to_landmarks<float>(
    const std::vector<kel::Point2D_<float>>&, uint32_t, uint32_t);

}  // namespace mvk::face
