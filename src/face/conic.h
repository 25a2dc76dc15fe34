// Fits a conic to points and evaluates it.
#pragma once

#include <Eigen/Core>

namespace mvk::face {

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

}  // namespace mvk::face
