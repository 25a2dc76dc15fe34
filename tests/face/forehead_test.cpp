// The forehead model and mvk_guess_forehead_landmarks.
#include "face/forehead.h"

#include <gtest/gtest.h>

#include <climits>
#include <complex>

#include "face/forehead_judge.h"
#include "face/intersection.h"
#include "face/landmarks.h"
#include "morvik/morvik.h"
#include "support/test_image.h"

namespace {

using mvk::face::Forehead;
using Complex = std::complex<double>;  // x + iy
using Ints = std::vector<int32_t>;     // x, y pairs

Complex at(const Ints& points, size_t i) { return {1.0 * points[2 * i], 1.0 * points[2 * i + 1]}; }

// Half an ellipse as contour, the other points on a smaller one.
Ints face(Complex centre, double radius, double depth, Complex turn, int count) {
  const int last = count == 106 ? 32 : 18;
  Ints points;
  for (int i = 0; i < count; ++i) {
    const Complex p = std::polar(i <= last ? 1.0 : 0.5, 3.14159265358979 * (1.0 - 1.0 * i / last));
    const Complex q = centre + Complex(radius * p.real(), depth * p.imag()) * turn;
    for (const double v : {q.real(), q.imag()}) points.push_back(static_cast<int>(std::lround(v)));
  }
  return points;
}

Ints guess(const Ints& points, int width, int height) {
  Ints out(22);
  const uint32_t count = static_cast<uint32_t>(points.size() / 2);
  EXPECT_EQ(mvk_guess_forehead_landmarks(out.data(), points.data(), count, width, height), MVK_OK);
  return out;
}

// Both roots lie on the conic whose leading coefficient is narrowed, and `pick` is the smaller.
TEST(Conic, FitsAndEvaluatesBothWays) {
  for (const double skew : {0.0, 0.4, -1.0}) {
    Eigen::MatrixXd ellipse(2, 7);
    for (int i = 0; i < 7; ++i) {
      const double y = 0.3 * std::sin(i * 0.8);
      ellipse.col(i) << 0.5 * std::cos(i * 0.8) + skew * y + 0.07, y + 0.04;
    }
    const Forehead::Conic conic(ellipse);
    const double scale = conic.coefficients[0] / -4.0;  // the constant term is 1
    EXPECT_NEAR(conic.coefficients[2] / scale, -1 / 0.09 - 4 * skew * skew, 1e-11);
    EXPECT_LT(conic.y_plus, conic.y_minus);
    EXPECT_LT(conic.y_plus, 0.0);
    for (const double y : {conic.y_plus, conic.y_minus}) {
      EXPECT_NEAR((conic.coefficients[2] * y + conic.coefficients[4]) * y, -1.0, 1e-12);
    }
    for (const bool for_x : {true, false}) {
      auto q = conic.coefficients;
      q[for_x ? 0 : 2] = static_cast<float>(q[for_x ? 0 : 2]);
      for (const double t : {-0.2, 0.05, 0.21}) {
        const Eigen::ArrayXd heights = Eigen::ArrayXd::Constant(1, t);
        const double roots[] = {conic(heights, true, for_x)[0], conic(heights, false, for_x)[0]};
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

TEST(Conic, WithoutASolution) {
  Forehead::Conic conic(Eigen::MatrixXd::Constant(2, 7, 1e200));  // finite, unlike its square
  EXPECT_TRUE(conic.coefficients.array().isNaN().all());
  for (const double lead : {0.0, static_cast<double>(NAN), static_cast<double>(INFINITY)}) {
    conic.coefficients << lead, 2.0, 3.0, 1.0, 5.0;
    EXPECT_DOUBLE_EQ(conic(Eigen::ArrayXd::Constant(1, 1.0), true, true)[0], -3.0);
    EXPECT_EQ(conic(Eigen::ArrayXd::Constant(1, -0.5), true, true)[0], 0.0);
  }
}

// Upright faces on whole pixels put the apex on the edge of truncation: any other rounding shows.
TEST(GuessForehead, AgreesWithTheJudgeToThePixel) {
  test::Random random(5);
  for (int round = 0; round < 6000; ++round) {
    const int width = random.range(64, 4000);
    const int height = random.range(64, 4000);
    const double radius = random.range(10, 45) * std::min(width, height) / 100;
    const double depth = radius * random.range(100, 160) / 100.0;
    const Complex turn = std::polar(1.0, round % 2 * random.range(-314, 314) / 100.0);
    const Complex centre(std::round(width * 0.4), std::round(height * 0.6));
    const Ints points = face(centre, radius, depth, turn, round % 4 < 2 ? 106 : 96);
    ASSERT_EQ(guess(points, width, height), test::judged_forehead(points, width, height))
        << width << "x" << height;
  }
}

// The forehead turns and shrinks with the face and does not depend on the image's size.
TEST(GuessForehead, MovesWithTheFace) {
  const Complex centre(5e6, 4e6);
  const Ints upright = guess(face(centre, 1.6e6, 2.2e6, 1.0, 106), 10000001, 10000001);
  EXPECT_NEAR(at(upright, 5).real(), centre.real(), 2.0);
  for (int i = 0; i < 48; ++i) {
    const Complex turn = std::polar(i % 2 ? 0.7 : 1.0, i * 0.4);
    const Ints turned = guess(face(centre, 1.6e6, 2.2e6, turn, 106), 8000000 + i % 4 * 1000000,
                              8000000 + i * 99999);
    for (size_t k = 0; k < 11; ++k) {
      EXPECT_LT(std::abs((at(turned, k) - centre) / turn - at(upright, k) + centre), 100.0) << i;
    }
  }
}

// Real faces with a measured forehead: close at the temples, above the flat hairline at the apex.
TEST(GuessForehead, FollowsMeasuredForeheads) {
  struct Sample {
    std::string name;
    int width, height;
  };
  for (const Sample& sample : {Sample{"collins", 512, 512},
                               {"collins_tilted", 560, 600},
                               {"hopper", 512, 600},
                               {"hopper_frame", 640, 480}}) {
    const auto read = [&](const std::string& what, int count) {  // in hundredths of a pixel
      std::vector<float> values(static_cast<size_t>(2 * count));
      const std::string path = "samples/" + sample.name + what;
      mvk_read_landmarks(values.data(), count, path.c_str(), 1, 2, ',');
      Ints result;
      for (const float v : values) result.push_back(static_cast<int32_t>(std::lround(v * 100)));
      return result;
    };
    const Ints arc = read("_forehead_mesh15.txt", 15);
    const Ints forehead =
        guess(read("_landmarks106.txt", 106), sample.width * 100, sample.height * 100);
    const double ears = std::abs(at(arc, 14) - at(arc, 0));
    for (const size_t index : {0u, 1u, 5u, 9u, 10u}) {
      double distance = ears;
      for (size_t i = 0; i < 14; ++i) {
        const Complex edge = at(arc, i + 1) - at(arc, i);
        const Complex offset = (at(forehead, index) - at(arc, i)) / edge;
        const Complex foot = std::clamp(offset.real(), 0.0, 1.0);
        distance = std::min(distance, std::abs(edge * (offset - foot)));
      }
      EXPECT_LT(distance, ears * (index == 5 ? 0.25 : 0.03)) << sample.name << " " << index;
    }
  }
}

TEST(GuessForehead, SurvivesAnyInput) {
  test::Random random(7);
  for (int round = 0; round < 4000; ++round) {
    constexpr int kSides[] = {INT_MIN, -7, -1, 0, 1, 2, 3, 100, 1 << 24, INT_MAX};
    const int width = kSides[random.range(0, 9)];
    const int height = kSides[random.range(0, 9)];
    Ints points = face({50.0, 50.0}, 20.0, 30.0, 1.0, round % 2 ? 96 : 106);
    EXPECT_EQ(guess(points, 1, height), Ints(22, 0));
    EXPECT_EQ(guess(Ints(points.size(), round), width, height), Ints(22, 0));
    const int kind = random.range(0, 3);
    for (int& v : points) {
      const int32_t any = static_cast<int32_t>(random.next());
      v = kind == 0   ? any
          : kind == 1 ? v / 20
          : kind == 2 ? (any % 2 ? INT_MIN : INT_MAX)
                      : v + any % 9;
    }
    guess(points, width, height);
  }
}

TEST(GuessForehead, SharedMemoryAndBadArguments) {
  Ints points = face({50.0, 50.0}, 20.0, 30.0, 1.0, 106);
  Ints expected = guess(points, 99, 99);
  expected.insert(expected.end(), points.begin() + 22, points.end());
  int32_t* const data = points.data();
  for (const uint32_t count : {0u, 95u, 97u, 105u, 107u, 0xFFFFFFFFu}) {
    EXPECT_EQ(mvk_guess_forehead_landmarks(data, data, count, 99, 99), MVK_BAD_ARGUMENT);
  }
  EXPECT_EQ(mvk_guess_forehead_landmarks(data, nullptr, 96, 99, 99), MVK_BAD_ARGUMENT);
  EXPECT_EQ(mvk_guess_forehead_landmarks(nullptr, data, 96, 99, 99), MVK_BAD_ARGUMENT);
  EXPECT_EQ(mvk_guess_forehead_landmarks(data, data, 106, 99, 99), MVK_OK);
  EXPECT_EQ(points, expected);
}

// The band's points that no function returns: the nose root, and three on the line to the apex.
TEST(Landmarks, BandOnTheLineToTheApex) {
  const Ints points = face({0.0, 0.0}, 200.0, 300.0, {0.9, 0.3}, 96);
  mvk::face::LandmarkVector band;
  for (size_t i = 0; i < 96; ++i) {
    const Complex p = std::conj(at(points, i)) / 600.0;
    band.push_back({static_cast<float>(p.real()), static_cast<float>(p.imag())});
  }
  mvk::face::Landmarks(600, 600, true).add_forehead(band);
  ASSERT_EQ(band.size(), 111u);
  const auto p = [&](size_t i) { return Complex(band[i].x, band[i].y); };
  EXPECT_LT(std::abs(p(107) - (p(63) + p(74)) / 2.0), 1e-6);
  for (size_t i = 0; i < 3; ++i) {
    EXPECT_NEAR(((p(108 + i) - p(75)) / (p(101) - p(75))).imag(), 0.0, 1e-5) << i;
    EXPECT_NEAR(((p(108 + i) - p(97 + i)) / (p(105 - i) - p(97 + i))).imag(), 0.0, 1e-5) << i;
  }
  using mvk::face::get_intersection;
  EXPECT_EQ(get_intersection({9, 3}, {9, 5}, {1, 3}, {1, 5}).x, 0.0F);            // parallel
  EXPECT_EQ(get_intersection({1000, 1}, {1000, 2}, {0, 0}, {0, 2}).y, 0.0F);      // 0.06 degrees
  EXPECT_FLOAT_EQ(get_intersection({500, 1}, {500, 2}, {0, 0}, {0, 2}).y, 2.0F);  // 0.11 degrees
}

}  // namespace
