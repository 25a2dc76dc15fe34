#include "face/conic.h"

#include <Eigen/SVD>
#include <cmath>
#include <limits>
#include <utility>

namespace mvk::face {
namespace {

using Coefficients = Eigen::Vector<double, 5>;

// Fixed capacity, so that the decomposition does not allocate: Eigen frees a block twice if an
// allocation fails inside it. With a capacity below 8 Eigen would select its product kernels for
// small matrices, which round differently from those for dynamic ones.
using Design = Eigen::Matrix<double, Eigen::Dynamic, Eigen::Dynamic, Eigen::ColMajor, 8, 8>;

Coefficients fit(const Eigen::MatrixXd& points) {
  const auto x = points.row(0).transpose().array();
  const auto y = points.row(1).transpose().array();
  Design design(points.cols(), 5);
  design << x * x, x * y, y * y, x, y;
  // Given such a matrix, the decomposition leaves members unset that solve() reads.
  if (!design.allFinite()) {
    return Coefficients::Constant(std::numeric_limits<double>::quiet_NaN());
  }
  const Eigen::JacobiSVD<Design, Eigen::ColPivHouseholderQRPreconditioner> svd(
      design, Eigen::ComputeThinU | Eigen::ComputeThinV);
  return svd.solve(Eigen::VectorXd::Constant(points.cols(), -1.0));
}

// False for 0, NaN and infinity.
bool is_significant(double value) {
  return std::abs(value) > std::abs(value) * std::numeric_limits<double>::epsilon();
}

}  // namespace

Conic::Conic(const Eigen::MatrixXd& points) : coefficients(fit(points)) {
  const double c = coefficients[2];
  const double e = coefficients[4];
  const double root = std::sqrt(std::fma(e, e, c * -4.0));
  y_plus = (root - e) * 0.5 / c;
  y_minus = (-e - root) * 0.5 / c;
}

Eigen::VectorXd Conic::operator()(const Eigen::ArrayXd& t, bool pick, bool solve_for_x) const {
  double a = coefficients[0];
  const double b = coefficients[1];
  double c = coefficients[2];
  double d = coefficients[3];
  double e = coefficients[4];
  if (!solve_for_x) {
    std::swap(a, c);
    std::swap(d, e);
  }
  // lead * u^2 + linear * u + constant = 0 for the unknown u at each t. The leading coefficient is
  // rounded to single precision; results depend on it.
  const double lead = static_cast<float>(a);
  const bool is_quadratic = is_significant(lead);
  const bool plus_root = (lead > 0.0) != pick;
  Eigen::VectorXd roots(t.size());
  for (Eigen::Index i = 0; i < t.size(); ++i) {
    const double linear = b * t[i] + d;
    const double negative = -(c * t[i] + e) * t[i];  // the constant is 1 - negative
    if (!is_quadratic) {
      roots[i] = is_significant(linear) ? (negative - 1.0) / linear : 0.0;
      continue;
    }
    const double discriminant =
        std::fma(linear, linear, std::fma(negative, 4.0 * lead, -4.0 * lead));
    const double root = std::sqrt(discriminant);
    roots[i] = (plus_root ? root - linear : -linear - root) * (0.5 / lead);
  }
  return roots;
}

}  // namespace mvk::face
