// The forehead model. Detectors deliver no points above the brows, so the outline of the forehead
// is sampled from a conic fitted to the jaw: the algebraic least-squares fit of a general conic
// with constant term 1, in a frame spanned by the two ends of the face's contour.
#pragma once

#include <Eigen/Core>

#include "face/conic.h"
#include "face/landmark_layout.h"
#include "face/local_coord_converter.h"

namespace mvk::face {

class Forehead {
 public:
  using LocalCoordConverter = mvk::face::LocalCoordConverter;
  using Conic = mvk::face::Conic;
  static constexpr int kPoints = 11;

  // vertexs: at least 19 points of the internal layout in vertex space. n: number of points to
  // predict, must be kPoints. top_side: the forehead is on the side of the crossing y_plus.
  Forehead(const LandmarkVector& vertexs, int width, int height, int n, bool top_side);

  // Fills the result, from the first end of the contour by way of the apex (5) to the last.
  void predict_by_conic();

  const LocalCoordConverter& converter() const { return converter_; }
  const Eigen::MatrixXd& fit_points() const { return fit_points_; }
  const Eigen::MatrixXd& result() const { return result_; }

 private:
  Eigen::MatrixXd fit_points_;  // 2 x 7, local
  Eigen::MatrixXd contour_;     // 2 x 19, local
  Eigen::MatrixXd result_;      // 2 x n, vertex space
  LocalCoordConverter converter_;
  bool top_side_;
};

}  // namespace mvk::face
