// The local frame of a face, in which the forehead is predicted.
#pragma once

#include <Eigen/Core>
#include <cstdint>

#include "face/landmark_layout.h"

namespace mvk::face {

// Vertex space <-> the local frame of a face: origin halfway between the contour's ends, x axis
// from the first to the last, y axis towards the chin, unit half the image's longer side.
struct LocalCoordConverter {
  LocalCoordConverter(LandmarkPoint first, LandmarkPoint last, int width, int height);

  // One point a column, two rows.
  Eigen::MatrixXd cvt_to(const Eigen::MatrixXd& m) const;
  Eigen::MatrixXd cvt_back(const Eigen::MatrixXd& m) const;

  uint32_t width;  // pixels
  uint32_t height;
  double scale;            // local units per pixel
  Eigen::Vector2d origin;  // scaled pixels
  Eigen::Matrix2d to_local;
  Eigen::Matrix2d back;
};

}  // namespace mvk::face
