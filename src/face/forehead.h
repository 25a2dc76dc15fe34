// The forehead model. Detectors deliver no points above the brows, so the outline of the forehead
// is read from a conic that is fitted to the jaw: the algebraic least-squares fit of a general
// conic with constant term 1, in a frame spanned by the two ends of the face's contour.
#pragma once

#include <cstdint>

#include "face/eigen.h"
#include "face/landmark_layout.h"

namespace mvk::face {

class Forehead {
 public:
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

  // a x^2 + b x y + c y^2 + d x + e y + 1 = 0. Points that are not finite give NaN throughout;
  // where a conic has no real point, evaluating it gives NaN, too.
  struct Conic {
    // Fits the columns of a 2 x k matrix.
    explicit Conic(const Eigen::MatrixXd& points);

    // The x at heights t (solve_for_x), or the y at abscissae t: the smaller of the two roots
    // (pick) or the larger one. The one root of a linear equation, 0 if there is none.
    Eigen::VectorXd operator()(const Eigen::ArrayXd& t, bool pick, bool solve_for_x) const;

    Eigen::Vector<double, 5> coefficients;  // a, b, c, d, e
    double y_plus;                          // the crossings with the local y axis
    double y_minus;
    double apex_x = 0.0;
  };

  static constexpr int kPoints = 11;

  // vertexs: at least 19 points of the internal layout in vertex space; only read. n: points to
  // predict, kPoints. top_side: the forehead lies at the crossing y_plus.
  Forehead(const LandmarkVector& vertexs, int width, int height, int n, bool top_side);

  // Fills the result, from the contour's first end over the apex (5) to its last.
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
