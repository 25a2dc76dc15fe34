#include "face/forehead.h"

#include <cassert>

#include "face/conic.h"

namespace mvk::face {
namespace {

constexpr Eigen::Index kContourPoints = 19;
constexpr Eigen::Index kFitPoints = 7;

}  // namespace

Forehead::Forehead(const LandmarkVector& vertexs, int width, int height, int n, bool top_side)
    : fit_points_(2, kFitPoints),
      contour_(2, kContourPoints),
      result_(2, n),
      converter_(vertexs[0], vertexs[kContourPoints - 1], width, height),
      top_side_(top_side) {
  assert(n == kPoints);
  for (Eigen::Index i = 0; i < kContourPoints; ++i) {
    const LandmarkPoint& vertex = vertexs[static_cast<size_t>(i)];
    contour_.col(i) << vertex.x, vertex.y;
  }
  contour_ = converter_.cvt_to(contour_);
  // The chin, 9, and its neighbours are left out: they would make the curve too pointed.
  fit_points_ << contour_.col(0), contour_.col(3), contour_.col(5),
      (contour_.col(7) + contour_.col(11)) * 0.5, contour_.col(13), contour_.col(15),
      contour_.col(18);
}

void Forehead::predict_by_conic() {
  const Conic conic(fit_points_);
  const double top = top_side_ ? conic.y_plus : conic.y_minus;
  Eigen::ArrayXd heights(kPoints / 2);
  heights << 0.3333333333333333, 0.5, 0.6666666666666666, 0.8333333333333333, 0.9583333333333333;
  heights *= top;

  Eigen::MatrixXd local(2, kPoints);
  local.row(0) << conic(heights, true, true).transpose(), conic.apex_x,
      conic(heights.reverse(), false, true).transpose();
  local.row(1) << heights.transpose().matrix(), top, heights.reverse().transpose().matrix();
  result_ = converter_.cvt_back(local);
}

}  // namespace mvk::face
