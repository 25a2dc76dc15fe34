#include "face/local_coord_converter.h"

#include <algorithm>
#include <cmath>

#include "face/vertex_space.h"

namespace mvk::face {
namespace {

LandmarkPoint scaled_pixel(LandmarkPoint vertex, uint32_t width, uint32_t height, double scale) {
  const LandmarkPoint pixel = vertex_to_pixel(vertex, width, height);
  return {static_cast<float>(pixel.x * scale), static_cast<float>(pixel.y * scale)};
}

}  // namespace

LocalCoordConverter::LocalCoordConverter(LandmarkPoint first, LandmarkPoint last, int image_width,
                                         int image_height)
    : width(static_cast<uint32_t>(image_width)),
      height(static_cast<uint32_t>(image_height)),
      scale(2.0 / std::max(image_width, image_height)) {
  const LandmarkPoint p0 = scaled_pixel(first, width, height, scale);
  const LandmarkPoint p1 = scaled_pixel(last, width, height, scale);
  // Sums and differences in single precision, everything else in double.
  const double dx = p1.x - p0.x;
  const double dy = p1.y - p0.y;
  const double length = std::sqrt(dx * dx + dy * dy);
  const double cosine = dx / length;
  const double sine = dy / length;
  to_local << cosine, sine, -sine, cosine;
  back << cosine, -sine, sine, cosine;
  origin << (p0.x + p1.x) * 0.5F, (p0.y + p1.y) * 0.5F;
}

Eigen::MatrixXd LocalCoordConverter::cvt_to(const Eigen::MatrixXd& m) const {
  const double last_column = width - 1;
  const double last_row = height - 1;
  Eigen::MatrixXd local(2, m.cols());
  for (Eigen::Index i = 0; i < m.cols(); ++i) {
    const double x = (width + m(0, i) * last_column) * 0.5 - 0.5;
    const double y = (last_row + 0.5) - (height + m(1, i) * last_row) * 0.5;
    const double dx = scale * x - origin(0);
    const double dy = scale * y - origin(1);
    local(0, i) = to_local(0, 0) * dx + to_local(0, 1) * dy;
    local(1, i) = to_local(1, 0) * dx + to_local(1, 1) * dy;
  }
  return local;
}

Eigen::MatrixXd LocalCoordConverter::cvt_back(const Eigen::MatrixXd& m) const {
  const double last_column = width - 1;
  const double last_row = height - 1;
  const double pixels_per_unit = 1.0 / scale;
  Eigen::MatrixXd vertexs(2, m.cols());
  for (Eigen::Index i = 0; i < m.cols(); ++i) {
    const double x = (back(0, 0) * m(0, i) + back(0, 1) * m(1, i) + origin(0)) * pixels_per_unit;
    const double y = (back(1, 0) * m(0, i) + back(1, 1) * m(1, i) + origin(1)) * pixels_per_unit;
    vertexs(0, i) = (2.0 * x + 1.0 - width) / last_column;
    vertexs(1, i) = (1.0 - height + 2.0 * (last_row - y)) / last_row;
  }
  return vertexs;
}

}  // namespace mvk::face
