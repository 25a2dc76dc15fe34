// mvk_guess_forehead_landmarks against plain formulas in extended precision around Eigen's solver
// with its vector code, which the library does not use.
#include <gtest/gtest.h>

#include <Eigen/SVD>
#include <algorithm>
#include <climits>
#include <cmath>
#include <complex>

#include "face/intersection.h"
#include "face/landmarks.h"
#include "morvik/morvik.h"
#include "support/test_image.h"

namespace {

using Real = long double;
using Point = std::complex<Real>;   // x + iy
using Ints = std::vector<int32_t>;  // x, y pairs

// Rounded where the library works in single precision.
Point single(Point p) { return {static_cast<float>(p.real()), static_cast<float>(p.imag())}; }

Point pixel(Point vertex, Real width, Real height) {
  const Point twice =
      single({vertex.real() * (width - 1) + width, vertex.imag() * (height - 1) + height});
  return single({twice.real() * 0.5L - 0.5L, height - 0.5L - twice.imag() * 0.5L});
}

mvk::face::LandmarkVector to_floats(const Ints& points) {
  mvk::face::LandmarkVector floats;
  for (size_t i = 0; i < points.size(); i += 2)
    floats.push_back({static_cast<float>(points[i]), static_cast<float>(points[i + 1])});
  return floats;
}

// For faces that have a forehead.
Ints judged(const Ints& points, int width, int height) {
  mvk::face::LandmarkVector face = to_floats(points);
  if (face.size() == 106) mvk::face::convert_landmarks_from_std(face, face);
  const Real columns = width - 1, rows = height - 1;
  const Point per_pixel = single({1 / columns, 1 / rows});
  const double scale = 2.0 / std::max(width, height);
  const auto vertex = [&](size_t i) {
    return single({(2 * Real{face[i].x} - columns) * per_pixel.real(),
                   (rows - 2 * Real{face[i].y}) * per_pixel.imag()});
  };
  // The frame of a face: multiplying by conj(turn) leads into it, multiplying by turn out of it.
  const Point first = single(pixel(vertex(0), width, height) * Real{scale});
  const Point last = single(pixel(vertex(18), width, height) * Real{scale});
  const Point turn = single(last - first) / std::abs(single(last - first));
  const Point origin = single(first + last) / 2.0L;
  const auto local = [&](size_t i) {
    const Point p((vertex(i).real() + 1) * columns / 2, (1 - vertex(i).imag()) * rows / 2);
    return (p * Real{scale} - origin) * std::conj(turn);
  };
  Eigen::MatrixXd design(7, 5);
  Eigen::Index row = 0;
  for (const Point& p : {local(0), local(3), local(5), (local(7) + local(11)) / 2.0L, local(13),
                         local(15), local(18)}) {
    const double x = static_cast<double>(p.real()), y = static_cast<double>(p.imag());
    design.row(row++) << x * x, x * y, y * y, x, y;
  }
  const Eigen::JacobiSVD<Eigen::MatrixXd, Eigen::ColPivHouseholderQRPreconditioner> svd(
      design, Eigen::ComputeThinU | Eigen::ComputeThinV);
  const Eigen::Vector<Real, 5> q = svd.solve(Eigen::VectorXd::Constant(7, -1.0)).cast<Real>();
  const Real lead = single(q[0]).real();
  const Real top = (std::sqrt(q[4] * q[4] - 4 * q[2]) - q[4]) / (2 * q[2]);
  Ints result;
  for (const Real height_of_24 : {8, 12, 16, 20, 23, 24, -23, -20, -16, -12, -8}) {
    const Real y = top * std::abs(height_of_24) / 24, half = (q[1] * y + q[3]) / (-2 * lead);
    const Real radius = std::sqrt(half * half - ((q[2] * y + q[4]) * y + 1) / lead);
    const Real x = height_of_24 == 24 ? 0 : half + std::copysign(radius, -height_of_24);
    // In double: an upright face can bring the apex exactly between two floats.
    const std::complex<double> p =
        std::complex<double>(Point(x, y) * turn + origin) * (1.0 / scale);
    const Point out = pixel(single({(2 * p.real() + 1 - width) / (width - 1.0),
                                    (height - 1 - 2 * p.imag()) / (height - 1.0)}),
                            width, height);
    for (const Real v : {out.real(), out.imag()}) result.push_back(static_cast<int32_t>(v));
  }
  return result;
}

// The contour is half an ellipse, the other points are on a smaller one.
Ints face(Point centre, Real radius, Real depth, Point turn, int count) {
  const int last = count == 106 ? 32 : 18;
  Ints points;
  for (int i = 0; i < count; ++i) {
    const Point p = std::polar(i <= last ? 1.0L : 0.5L, 3.14159265358979L * (last - i) / last);
    const Point q = centre + Point(radius * p.real(), depth * p.imag()) * turn;
    for (const Real v : {q.real(), q.imag()}) points.push_back(static_cast<int>(std::lround(v)));
  }
  return points;
}

Ints guess(const Ints& points, int width, int height) {
  Ints out(22);
  const uint32_t count = static_cast<uint32_t>(points.size() / 2);
  EXPECT_EQ(mvk_guess_forehead_landmarks(out.data(), points.data(), count, width, height), MVK_OK);
  return out;
}

// Upright and lying faces on whole pixels put the apex where truncation jumps: any difference in
// rounding shows.
TEST(GuessForehead, AgreesWithTheJudgeToThePixel) {
  test::Random random(5);
  for (int round = 0; round < 6000; ++round) {
    const int most = round % 3 == 0 ? 4000000 : 4000;  // large ones show the last bits
    const int width = random.range(64, most), height = random.range(64, most);
    const Real radius = random.range(10, 45) * std::min(width, height) / 100;
    const Real depth = radius * random.range(100, 160) / 100;
    const Real angle = random.range(-314, 314) / 100.0L;
    const Point turn = round % 2 ? std::polar(1.0L, angle) : Point(round % 3 == 0, round % 3 != 0);
    const Point centre(width * 2 / 5, height * 3 / 5);
    Ints points = face(centre, radius, depth, turn, round % 4 < 2 ? 106 : 96);
    const int uneven = round % 2 ? static_cast<int>(radius / 20) : 0;
    for (int& v : points) v += random.range(-uneven, uneven);
    ASSERT_EQ(guess(points, width, height), judged(points, width, height)) << round;
  }
}

TEST(GuessForehead, SurvivesAnyInput) {
  constexpr int kSides[] = {INT_MIN, -7, -1, 0, 1, 2, 3, 100, 1 << 24, INT_MAX};
  test::Random random(7);
  const auto side = [&] { return kSides[random.range(0, 9)]; };
  for (int round = 0; round < 4000; ++round) {
    Ints points(round % 2 ? 192 : 212, round);
    EXPECT_EQ(guess(points, side(), side()), Ints(22, 0));
    for (int& v : points) v = static_cast<int>(random.next()) >> round % 32;
    EXPECT_EQ(guess(points, 1, side()), Ints(22, 0));
    guess(points, side(), side());
  }
}

TEST(GuessForehead, SharedMemoryAndBadArguments) {
  Ints points = face(Point(50, 50), 20, 30, 1, 106);
  Ints expected = points;
  std::ranges::copy(guess(points, 99, 99), expected.begin());
  int32_t* const data = points.data();
  for (const uint32_t count : {0u, 95u, 97u, 105u, 107u, 0xFFFFFFFFu})
    EXPECT_EQ(mvk_guess_forehead_landmarks(data, data, count, 99, 99), MVK_BAD_ARGUMENT);
  EXPECT_EQ(mvk_guess_forehead_landmarks(data, nullptr, 96, 99, 99), MVK_BAD_ARGUMENT);
  EXPECT_EQ(mvk_guess_forehead_landmarks(nullptr, data, 96, 99, 99), MVK_BAD_ARGUMENT);
  EXPECT_EQ(mvk_guess_forehead_landmarks(data, data, 106, 99, 99), MVK_OK);
  EXPECT_EQ(points, expected);
}

// The points of the forehead band that no exported function returns: the nose root, and three on
// the line to the apex.
TEST(Landmarks, BandOnTheLineToTheApex) {
  auto band = to_floats(face(0, 200, -300, Point(0.9L, 0.3L), 96));
  for (auto& point : band) point = {point.x / 600.0F, point.y / 600.0F};
  mvk::face::Landmarks(600, 600, true).add_forehead(band);
  ASSERT_EQ(band.size(), 111u);
  const auto p = [&](size_t i) { return Point(band[i].x, band[i].y); };
  EXPECT_LT(std::abs(p(107) - (p(63) + p(74)) / 2.0L), 1e-6);
  for (size_t i = 0; i < 3; ++i) {
    EXPECT_LT(std::abs(((p(108 + i) - p(75)) / (p(101) - p(75))).imag()), 1e-5) << i;
    EXPECT_LT(std::abs(((p(108 + i) - p(97 + i)) / (p(105 - i) - p(97 + i))).imag()), 1e-5) << i;
  }
  using mvk::face::get_intersection;
  EXPECT_EQ(get_intersection({1000, 1}, {1000, 2}, {0, 0}, {0, 2}).y, 0.0F);      // 0.06 degrees
  EXPECT_FLOAT_EQ(get_intersection({500, 1}, {500, 2}, {0, 0}, {0, 2}).y, 2.0F);  // 0.11 degrees
}

// Against the angle as the C library measures it.
TEST(Landmarks, LinesBelowATenthOfADegreeAreParallel) {
  using Point2 = kel::Point2D_<float>;
  test::Random random(9);
  const auto coordinate = [&](int reach) {
    return static_cast<float>(random.range(-reach, reach));
  };
  for (int i = 0; i < 1000000; ++i) {
    const Point2 u{coordinate(2000), coordinate(2000)};
    const Point2 v{2.0F * u.x + coordinate(9), 2.0F * u.y + coordinate(9)};
    const float cosine = (u.x * v.x + u.y * v.y) / (std::hypot(v.x, v.y) * std::hypot(u.x, u.y));
    const auto degrees = static_cast<float>(std::acos(cosine) * 180.0 * 0.3183098861837907);
    const Point2 c{-30000.0F, -30000.0F};  // so far away that no intersection is at (0, 0)
    const Point2 met =
        mvk::face::get_intersection({c.x + u.x, c.y + u.y}, {c.x + v.x, c.y + v.y}, c, c);
    ASSERT_EQ(met.x == 0.0F && met.y == 0.0F, !(degrees >= 0.1F)) << u.x << ' ' << u.y;
  }
}

}  // namespace
