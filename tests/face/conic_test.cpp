// What the forehead does not use: the other axis, the other intersection, curves without a
// solution.
#include <gtest/gtest.h>

#include <cmath>

#include "face/conic.h"

namespace {

TEST(Conic, BeyondTheForehead) {
  Eigen::MatrixXd ellipse(2, 7);
  for (int i = 0; i < 7; ++i) ellipse.col(i) << std::cos(i * 0.8) + 0.1 * i, std::sin(i * 0.8);
  mvk::face::Conic conic(ellipse);
  const mvk::face::Conic mirrored(ellipse.colwise().reverse());  // x and y swapped
  const Eigen::ArrayXd t = Eigen::ArrayXd::LinSpaced(9, -0.3, 0.6);
  for (const bool pick : {true, false})
    EXPECT_TRUE(conic(t, pick, false).isApprox(mirrored(t, pick, true), 1e-9));
  EXPECT_NEAR(conic.y_plus * conic.y_minus * conic.coefficients[2], 1.0, 1e-12);
  for (const double lead : {0.0, static_cast<double>(NAN), static_cast<double>(INFINITY)}) {
    conic.coefficients << lead, 2.0, 3.0, 1.0, 5.0;
    EXPECT_DOUBLE_EQ(conic(Eigen::ArrayXd::Constant(1, 1.0), true, true)[0], -3.0);
    EXPECT_EQ(conic(Eigen::ArrayXd::Constant(1, -0.5), true, true)[0], 0.0);
  }
}

}  // namespace
