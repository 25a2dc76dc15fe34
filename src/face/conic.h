// Fits a conic to points and evaluates it.
#pragma once

#include <Eigen/Core>  // as the CMake target morvik_eigen configures it

namespace mvk::face {

// a x^2 + b x y + c y^2 + d x + e y + 1 = 0. All coefficients are NaN if a point is not finite;
// evaluating a conic where it has no real point gives NaN, too.
struct Conic {
  // Fits the columns of a 2 x k matrix.
  explicit Conic(const Eigen::MatrixXd& points);

  // The x at ordinates t (solve_for_x), or the y at abscissae t: the smaller of the two roots
  // (pick) or the larger. If the equation is linear its one root, or 0 if it has none.
  Eigen::VectorXd operator()(const Eigen::ArrayXd& t, bool pick, bool solve_for_x) const;

  Eigen::Vector<double, 5> coefficients;  // a, b, c, d, e
  double y_plus;                          // the crossings with the y axis
  double y_minus;
  double apex_x = 0.0;
};

}  // namespace mvk::face
