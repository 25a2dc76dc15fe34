#include "face/forehead_judge.h"

#include <Eigen/SVD>
#include <complex>

#include "face/landmark_layout.h"

namespace test {
namespace {

using Real = long double;
using Point = std::complex<Real>;

// Narrowed at the places where the library works in single precision.
float single(Real value) { return static_cast<float>(value); }
std::complex<float> single(Point p) { return {single(p.real()), single(p.imag())}; }

std::complex<float> pixel(std::complex<float> vertex, int width, int height) {
  const float twice_x = single(Real{vertex.real()} * (width - 1) + width);
  const float twice_y = single(Real{vertex.imag()} * (height - 1) + height);
  return single(Point(twice_x * 0.5L - 0.5L, height - 0.5L - twice_y * 0.5L));
}

}  // namespace

std::vector<int32_t> judged_forehead(const std::vector<int32_t>& points, int width, int height) {
  mvk::face::LandmarkVector face;
  for (size_t i = 0; i < points.size(); i += 2) {
    face.push_back({static_cast<float>(points[i]), static_cast<float>(points[i + 1])});
  }
  if (face.size() == 106) mvk::face::convert_landmarks_from_std(face, face);
  const Real columns = width - 1;
  const Real rows = height - 1;
  std::complex<float> vertexs[19];
  Point contour[19];
  for (int i = 0; i < 19; ++i) {
    const mvk::face::LandmarkPoint& p = face[static_cast<size_t>(i)];
    vertexs[i] = single(Point((2 * Real{p.x} - columns) * single(1 / columns),
                              (rows - 2 * Real{p.y}) * single(1 / rows)));
    const Point vertex(vertexs[i]);
    contour[i] = Point((vertex.real() + 1) * columns / 2, (1 - vertex.imag()) * rows / 2);
  }
  // A face's frame: multiplying by conj(turn) enters it, multiplying by turn leaves it.
  const double scale = 2.0 / std::max(width, height);
  const std::complex<float> first = single(Point(pixel(vertexs[0], width, height)) * Real{scale});
  const std::complex<float> last = single(Point(pixel(vertexs[18], width, height)) * Real{scale});
  const Point turn = Point(last - first) / std::abs(Point(last - first));
  const Point origin((first + last) * 0.5F);
  for (Point& p : contour) p = (p * Real{scale} - origin) * std::conj(turn);

  Eigen::MatrixXd design(7, 5);
  Eigen::Index row = 0;
  for (const Point& p : {contour[0], contour[3], contour[5], (contour[7] + contour[11]) * 0.5L,
                         contour[13], contour[15], contour[18]}) {
    const double x = static_cast<double>(p.real());
    const double y = static_cast<double>(p.imag());
    design.row(row++) << x * x, x * y, y * y, x, y;
  }
  const Eigen::JacobiSVD<Eigen::MatrixXd, Eigen::ColPivHouseholderQRPreconditioner> svd(
      design, Eigen::ComputeThinU | Eigen::ComputeThinV);
  const Eigen::Vector<Real, 5> q = svd.solve(Eigen::VectorXd::Constant(7, -1.0)).cast<Real>();
  const Real lead = single(q[0]);
  const Real top = (std::sqrt(q[4] * q[4] - 4 * q[2]) - q[4]) / (2 * q[2]);

  std::vector<int32_t> result;
  for (const Real height_of_24 : {8, 12, 16, 20, 23, 24, -23, -20, -16, -12, -8}) {
    const Real y = top * std::abs(height_of_24) / 24;
    const Real half = (q[1] * y + q[3]) / (-2 * lead);
    const Real radius = std::sqrt(half * half - ((q[2] * y + q[4]) * y + 1) / lead);
    const Real x = height_of_24 == 24 ? 0 : half + std::copysign(radius, -height_of_24);
    const Point local = Point(x, y) * turn + origin;
    // In double: an upright face can bring the apex exactly between two floats.
    const double column = static_cast<double>(local.real()) * (1.0 / scale);
    const double line = static_cast<double>(local.imag()) * (1.0 / scale);
    const Point vertex((2 * column + 1 - width) / (width - 1.0),
                       (height - 1 - 2 * line) / (height - 1.0));
    const std::complex<float> out = pixel(single(vertex), width, height);
    for (const float v : {out.real(), out.imag()}) result.push_back(static_cast<int32_t>(v));
  }
  return result;
}

}  // namespace test
