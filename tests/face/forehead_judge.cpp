#include "face/forehead_judge.h"

#include <Eigen/SVD>
#include <cmath>

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

std::array<double, 5> judged_conic(const std::vector<std::complex<double>>& points) {
  Eigen::MatrixXd rows(static_cast<Eigen::Index>(points.size()), 5);
  for (Eigen::Index i = 0; i < rows.rows(); ++i) {
    const double x = points[static_cast<size_t>(i)].real();
    const double y = points[static_cast<size_t>(i)].imag();
    rows.row(i) << x * x, x * y, y * y, x, y;
  }
  const Eigen::JacobiSVD<Eigen::MatrixXd, Eigen::ColPivHouseholderQRPreconditioner> svd(
      rows, Eigen::ComputeThinU | Eigen::ComputeThinV);
  std::array<double, 5> result{};
  Eigen::Map<Eigen::VectorXd>(result.data(), 5) =
      svd.solve(Eigen::VectorXd::Constant(rows.rows(), -1.0));
  return result;
}

std::vector<int32_t> judged_forehead(const std::vector<std::complex<double>>& points, int width,
                                     int height) {
  const Real columns = width - 1;
  const Real rows = height - 1;
  std::vector<std::complex<float>> vertexs;
  std::vector<Point> contour;
  for (size_t i = 0; i < 19; ++i) {
    vertexs.push_back(single(Point((2 * points[i].real() - columns) * single(1 / columns),
                                   (rows - 2 * points[i].imag()) * single(1 / rows))));
    const Point v(vertexs[i]);
    contour.emplace_back((v.real() + 1) * columns / 2, (1 - v.imag()) * rows / 2);
  }
  // A face's frame: multiplying by conj(turn) enters it, multiplying by turn leaves it.
  const double scale = 2.0 / std::max(width, height);
  const std::complex<float> first = single(Point(pixel(vertexs[0], width, height)) * Real{scale});
  const std::complex<float> last = single(Point(pixel(vertexs[18], width, height)) * Real{scale});
  const Point turn = Point(last - first) / std::abs(Point(last - first));
  const Point origin((first + last) * 0.5F);
  for (Point& p : contour) p = (p * Real{scale} - origin) * std::conj(turn);

  std::vector<std::complex<double>> fit;
  for (const Point& p : {contour[0], contour[3], contour[5], (contour[7] + contour[11]) * 0.5L,
                         contour[13], contour[15], contour[18]}) {
    fit.emplace_back(static_cast<double>(p.real()), static_cast<double>(p.imag()));
  }
  const auto [a, b, c, d, e] = judged_conic(fit);
  const Real lead = single(a);
  const Real top = (std::sqrt(Real{e} * e - 4 * Real{c}) - e) / (2 * Real{c});

  std::vector<int32_t> result;
  for (const Real height_of_24 : {8, 12, 16, 20, 23, 24, -23, -20, -16, -12, -8}) {
    const Real y = top * std::abs(height_of_24) / 24;
    const Real half = (b * y + d) / (-2 * lead);
    const Real radius = std::sqrt(half * half - ((c * y + e) * y + 1) / lead);
    const Real x = height_of_24 == 24 ? 0 : half + std::copysign(radius, -height_of_24);
    // In double: an upright face can bring the apex exactly between two floats.
    const Point local = Point(x, y) * turn + origin;
    const double column = static_cast<double>(local.real()) * (1.0 / scale);
    const double row = static_cast<double>(local.imag()) * (1.0 / scale);
    const Point vertex((2 * column + 1 - width) / (width - 1.0),
                       (height - 1 - 2 * row) / (height - 1.0));
    const std::complex<float> q = pixel(single(vertex), width, height);
    result.push_back(static_cast<int32_t>(q.real()));
    result.push_back(static_cast<int32_t>(q.imag()));
  }
  return result;
}

}  // namespace test
