// The forehead model and mvk_guess_forehead_landmarks.
#include "face/forehead.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <cmath>
#include <complex>

#include "face/forehead_judge.h"
#include "face/intersection.h"
#include "face/landmarks.h"
#include "morvik/morvik.h"
#include "support/test_image.h"

namespace {

using mvk::face::Forehead;
using mvk::face::LandmarkPoint;
using mvk::face::LandmarkVector;
using Complex = std::complex<double>;

constexpr double kPi = 3.14159265358979323846;

// The lower half of an ellipse as contour and points inside it, in whole pixels.
LandmarkVector face(Complex centre, double radius, double depth, Complex turn, size_t count) {
  const int last = count == 106 ? 32 : 18;
  LandmarkVector points;
  for (int i = 0; i < static_cast<int>(count); ++i) {
    const Complex p = std::polar(1.0, kPi - kPi * (i % (last + 1)) / last);
    const Complex q =
        centre + Complex(radius * p.real(), depth * p.imag()) * turn * (i <= last ? 1.0 : 0.5);
    points.push_back(
        {std::round(static_cast<float>(q.real())), std::round(static_cast<float>(q.imag()))});
  }
  return points;
}

std::vector<Complex> as_complex(const LandmarkVector& points) {
  std::vector<Complex> result;
  for (const LandmarkPoint& p : points) result.emplace_back(p.x, p.y);
  return result;
}

std::vector<int32_t> flat(const LandmarkVector& points) {
  std::vector<int32_t> values;
  for (const LandmarkPoint& p : points) {
    values.insert(values.end(), {static_cast<int32_t>(p.x), static_cast<int32_t>(p.y)});
  }
  return values;
}

std::vector<int32_t> guess(const std::vector<int32_t>& points, int width, int height) {
  std::vector<int32_t> out(22);
  const uint32_t count = static_cast<uint32_t>(points.size() / 2);
  EXPECT_EQ(mvk_guess_forehead_landmarks(out.data(), points.data(), count, width, height), MVK_OK);
  return out;
}

Eigen::MatrixXd ellipse(double skew) {
  Eigen::MatrixXd points(2, 7);
  for (int i = 0; i < 7; ++i) {
    const double y = 0.3 * std::sin(i * 0.8);
    points.col(i) << 0.5 * std::cos(i * 0.8) + skew * y, y;
  }
  return points;
}

TEST(Conic, FitsAnEllipse) {
  const Forehead::Conic conic(ellipse(0.0));
  const double expected[] = {-4.0, 0.0, -1 / 0.09, 0.0, 0.0};
  for (int i = 0; i < 5; ++i) EXPECT_NEAR(conic.coefficients[i], expected[i], 1e-12);
  EXPECT_NEAR(conic.y_plus, -0.3, 1e-14);
  EXPECT_NEAR(conic.y_minus, 0.3, 1e-14);
}

// Both roots lie on the conic whose leading coefficient is narrowed, and `pick` is the smaller.
TEST(Conic, EvaluatesBothBranchesBothWays) {
  for (const double skew : {0.0, 0.4, -1.0}) {
    const Forehead::Conic conic(ellipse(skew));
    for (const bool for_x : {true, false}) {
      auto q = conic.coefficients;
      q[for_x ? 0 : 2] = static_cast<float>(q[for_x ? 0 : 2]);
      for (const double t : {-0.2, 0.05, 0.21}) {
        const Eigen::ArrayXd at = Eigen::ArrayXd::Constant(1, t);
        const double roots[] = {conic(at, true, for_x)[0], conic(at, false, for_x)[0]};
        EXPECT_LT(roots[0], roots[1]);
        for (const double root : roots) {
          const double x = for_x ? root : t;
          const double y = for_x ? t : root;
          EXPECT_NEAR(q[0] * x * x + q[1] * x * y + q[2] * y * y + q[3] * x + q[4] * y, -1, 1e-12);
        }
      }
    }
  }
}

TEST(Conic, DegenerateEquationsAndFits) {
  Forehead::Conic conic(ellipse(0.0));
  Eigen::ArrayXd t(2);
  t << 1.0, -0.5;  // at -0.5 the linear term vanishes as well
  for (const double lead : {0.0, static_cast<double>(NAN), static_cast<double>(INFINITY)}) {
    conic.coefficients << lead, 2.0, 3.0, 1.0, 5.0;
    EXPECT_DOUBLE_EQ(conic(t, true, true)[0], -3.0);
    EXPECT_EQ(conic(t, true, true)[1], 0.0);
  }
  Eigen::MatrixXd line = ellipse(0.0);
  line.row(1) = line.row(0) * 0.5;
  std::vector<Complex> pairs;
  for (int i = 0; i < 7; ++i) pairs.emplace_back(line(0, i), line(1, i));
  const std::array<double, 5> expected = test::judged_conic(pairs);
  for (int i = 0; i < 5; ++i) {
    EXPECT_NEAR(Forehead::Conic(line).coefficients[i], expected[static_cast<size_t>(i)], 1e-9);
  }
  line(1, 3) = 1e200;  // finite, but its square is not
  EXPECT_TRUE(Forehead::Conic(line).coefficients.array().isNaN().all());
}

// Upright faces on whole pixels put the apex on the edge of truncation: any other rounding shows.
TEST(GuessForehead, AgreesWithTheJudgeToThePixel) {
  test::Random random(5);
  for (int round = 0; round < 6000; ++round) {
    const int width = random.range(64, 4000);
    const int height = random.range(64, 4000);
    const double radius = random.range(10, 45) * std::min(width, height) / 100;
    LandmarkVector points = face({std::round(width * 0.4), std::round(height * 0.6)}, radius,
                                 radius * random.range(100, 160) / 100.0,
                                 std::polar(1.0, round % 2 * random.range(-314, 314) / 100.0),
                                 round % 4 < 2 ? 106 : 96);
    const std::vector<int32_t> out = guess(flat(points), width, height);
    if (points.size() == 106) mvk::face::convert_landmarks_from_std(points, points);
    const std::vector<Complex> internal = as_complex(points);
    ASSERT_EQ(out, test::judged_forehead(internal, width, height)) << width << "x" << height;
  }
}

// The forehead turns and shrinks with the face and does not depend on the image's size.
TEST(GuessForehead, MovesWithTheFace) {
  LandmarkVector upright = face({500.0, 520.0}, 160.0, 220.0, 1.0, 106);
  for (size_t i = 1; i < 16; ++i) upright[i].x -= 7.0F;  // not symmetric
  const LandmarkVector expected = mvk::face::get_forehead_points(upright, 1001, 1001);
  for (int degrees = 0; degrees < 360; degrees += 15) {
    const Complex turn = std::polar(degrees % 2 ? 1.0 : 0.7, degrees * kPi / 180);
    const auto moved = [&](LandmarkVector points) {
      for (LandmarkPoint& p : points) {
        const Complex q = Complex(p.x - 500.0, p.y - 500.0) * turn + Complex(500.0, 500.0);
        p = {static_cast<float>(q.real()), static_cast<float>(q.imag())};
      }
      return points;
    };
    const int width = 1001 + degrees % 4 * 700;
    const int height = 1001 + degrees % 7 * 500;
    const LandmarkVector turned = mvk::face::get_forehead_points(moved(upright), width, height);
    for (size_t i = 0; i < 11; ++i) {
      EXPECT_NEAR(turned[i].x, moved(expected)[i].x, 0.02F) << degrees;
      EXPECT_NEAR(turned[i].y, moved(expected)[i].y, 0.02F) << degrees;
    }
  }
}

// Real faces with a measured forehead: close at the temples, above the flat hairline at the apex.
TEST(GuessForehead, FollowsMeasuredForeheads) {
  const std::tuple<std::string, int, int> samples[] = {{"collins", 512, 512},
                                                       {"collins_tilted", 560, 600},
                                                       {"hopper", 512, 600},
                                                       {"hopper_frame", 640, 480}};
  for (const auto& [name, width, height] : samples) {
    const auto read = [&prefix = name](const std::string& rest, int count) {
      LandmarkVector points(static_cast<size_t>(count));
      mvk_read_landmarks(points.data(), count, ("samples/" + prefix + rest).c_str(), 1, 2, ',');
      return points;
    };
    const auto at = [](LandmarkPoint p) { return Complex(p.x, p.y); };
    const LandmarkVector face = read("_landmarks106.txt", 106);
    const LandmarkVector arc = read("_forehead_mesh15.txt", 15);
    const LandmarkVector forehead = mvk::face::get_forehead_points(face, width, height);
    const double ears = std::abs(at(face[32]) - at(face[0]));
    for (const size_t index : {0u, 1u, 5u, 9u, 10u}) {
      double distance = ears;
      for (size_t i = 0; i + 1 < arc.size(); ++i) {
        const Complex edge = at(arc[i + 1]) - at(arc[i]);
        const Complex offset = (at(forehead[index]) - at(arc[i])) / edge;
        const Complex foot = std::clamp(offset.real(), 0.0, 1.0);
        distance = std::min(distance, std::abs(edge * (offset - foot)));
      }
      EXPECT_LT(distance, ears * (index == 5 ? 0.25 : 0.03)) << name << " point " << index;
    }
  }
}

TEST(GuessForehead, SurvivesAnyInput) {
  const std::vector<int32_t> nothing(22, 0);
  test::Random random(7);
  for (const size_t count : {96u, 106u}) {
    const std::vector<int32_t> good = flat(face({50.0, 50.0}, 20.0, 30.0, 1.0, count));
    for (const int width : {INT_MIN, -7, 0, 1, 2, 3, 100, 1 << 24, INT_MAX}) {
      EXPECT_EQ(guess(good, 1, width), nothing);
      for (const int height : {INT_MIN, -1, 0, 1, 2, 100, INT_MAX}) {
        EXPECT_EQ(guess(std::vector<int32_t>(good.size(), 17), width, height), nothing);
        for (int kind = 0; kind < 40; ++kind) {
          std::vector<int32_t> points = good;
          for (size_t i = 0; i < points.size(); ++i) {
            const int32_t any = static_cast<int32_t>(random.next());
            if (kind < 10)
              points[i] = static_cast<int32_t>(i / 2) * (i % 2 ? kind : 3);
            else if (kind < 20)
              points[i] = any;
            else if (kind < 30)
              points[i] = any % 2 ? INT_MIN : INT_MAX;
            else
              points[i] += any % (1 << (kind - 28));
          }
          guess(points, width, height);
        }
      }
    }
  }
}

TEST(GuessForehead, SharedMemoryAndBadArguments) {
  std::vector<int32_t> points = flat(face({50.0, 50.0}, 20.0, 30.0, 1.0, 106));
  const std::vector<int32_t> before = points;
  int32_t* const data = points.data();
  for (const uint32_t count : {0u, 95u, 97u, 105u, 107u, 0xFFFFFFFFu}) {
    EXPECT_EQ(mvk_guess_forehead_landmarks(data, data, count, 99, 99), MVK_BAD_ARGUMENT);
  }
  EXPECT_EQ(mvk_guess_forehead_landmarks(data, nullptr, 96, 99, 99), MVK_BAD_ARGUMENT);
  EXPECT_EQ(mvk_guess_forehead_landmarks(nullptr, data, 96, 99, 99), MVK_BAD_ARGUMENT);
  EXPECT_EQ(points, before);
  std::vector<int32_t> expected = guess(before, 99, 99);
  expected.insert(expected.end(), before.begin() + 22, before.end());
  EXPECT_EQ(mvk_guess_forehead_landmarks(data, data, 106, 99, 99), MVK_OK);
  EXPECT_EQ(points, expected);
}

// The band's points that no function returns: the nose root, and three on the line to the apex.
TEST(Landmarks, BandOnTheLineToTheApex) {
  LandmarkVector points = face({0.0, 0.0}, 200.0, 300.0, {0.9, 0.3}, 96);
  for (LandmarkPoint& p : points) p = {p.x / 600.0F, p.y / -600.0F};
  points[75] = {0.0F, 0.1F};
  mvk::face::Landmarks(600, 600, true).add_forehead(points);
  ASSERT_EQ(points.size(), 111u);
  EXPECT_FLOAT_EQ(points[107].y, (points[63].y + points[74].y) / 2);
  const auto off_line = [&](size_t p, size_t a, size_t b) {
    return (points[p].x - points[a].x) * (points[b].y - points[a].y) -
           (points[p].y - points[a].y) * (points[b].x - points[a].x);
  };
  for (size_t i = 0; i < 3; ++i) {
    EXPECT_NEAR(off_line(108 + i, 75, 101), 0.0F, 1e-6F) << i;
    EXPECT_NEAR(off_line(108 + i, 97 + i, 105 - i), 0.0F, 1e-6F) << i;
  }
  using mvk::face::get_intersection;
  EXPECT_EQ(get_intersection({9, 3}, {9, 5}, {1, 3}, {1, 5}).x, 0.0F);            // parallel
  EXPECT_EQ(get_intersection({1000, 1}, {1000, 2}, {0, 0}, {0, 2}).y, 0.0F);      // 0.06 degrees
  EXPECT_FLOAT_EQ(get_intersection({500, 1}, {500, 2}, {0, 0}, {0, 2}).y, 2.0F);  // 0.11 degrees
  EXPECT_EQ(get_intersection({3, 3}, {9, 5}, {3, 3}, {1, 5}).x, 0.0F);            // no direction
}

}  // namespace
