// From the std to the internal layout.
#include "face/landmark_layout.h"

#include <gtest/gtest.h>

namespace {

using mvk::face::LandmarkPoint;

// On a parabola, where no two pairs of points have the same midpoint.
LandmarkPoint std_point(int i) { return {static_cast<float>(i), static_cast<float>(-i * i)}; }

// The midpoint of std points a and b, moved by point `towards` less point 43 if there is one.
struct Origin {
  int a, b;
  int towards = 43;
};

constexpr Origin kOrigins[] = {
    // clang-format off
      {0, 0}, {1, 1}, {3, 3}, {4, 6}, {6, 8}, {8, 9}, {9, 12}, {12, 14},
      {14, 15}, {16, 16}, {17, 18}, {18, 20}, {20, 23}, {23, 24}, {24, 26}, {26, 28},
      {29, 29}, {31, 31}, {32, 32}, {33, 33}, {33, 34}, {34, 34}, {35, 35}, {36, 36},
      {37, 37}, {66, 66}, {65, 65}, {64, 64}, {33, 64}, {38, 38}, {38, 39}, {39, 39},
      {40, 40}, {41, 41}, {42, 42}, {71, 71}, {70, 70}, {69, 69}, {38, 69}, {52, 52},
      {52, 53}, {53, 53}, {72, 72}, {54, 54}, {54, 55}, {55, 55}, {55, 56}, {56, 56},
      {73, 73}, {57, 57}, {52, 57}, {58, 58}, {58, 59}, {59, 59}, {75, 75}, {60, 60},
      {60, 61}, {61, 61}, {61, 62}, {62, 62}, {76, 76}, {63, 63}, {58, 63}, {78, 78},
      {78, 78, 44}, {78, 78, 45}, {80, 80}, {82, 82}, {48, 48}, {50, 50}, {83, 83}, {81, 81},
      {79, 79, 45}, {79, 79, 44}, {79, 79}, {46, 46}, {84, 84}, {85, 85}, {86, 86}, {87, 87},
      {88, 88}, {89, 89}, {90, 90}, {91, 91}, {92, 92}, {93, 93}, {94, 94}, {95, 95},
      {96, 96}, {97, 97}, {98, 98}, {99, 99}, {100, 100}, {101, 101}, {102, 102}, {103, 103},
    // clang-format on
};

TEST(LandmarkLayout, InternalPointsComeFrom) {
  mvk::face::LandmarkVector points;
  for (int i = 0; i < 130; ++i) points.push_back(std_point(i));  // more than it uses
  mvk::face::LandmarkVector in_place = points;
  mvk::face::convert_landmarks_from_std(points, points);
  mvk::face::convert_landmarks_from_std(in_place, &in_place[0].x);
  ASSERT_EQ(points.size(), std::size(kOrigins));
  for (size_t i = 0; i < points.size(); ++i) {
    const auto [a, b, towards] = kOrigins[i];
    const auto moved = [&](float LandmarkPoint::* axis) {
      const float middle = (std_point(a).*axis + std_point(b).*axis) / 2;
      return middle + std_point(towards).*axis - std_point(43).*axis;
    };
    for (const LandmarkPoint point : {points[i], in_place[i]}) {
      EXPECT_EQ(point.x, moved(&LandmarkPoint::x)) << i;
      EXPECT_EQ(point.y, moved(&LandmarkPoint::y)) << i;
    }
  }
}

TEST(LandmarkLayout, MissingPointsAreZero) {
  mvk::face::LandmarkVector points(5, {2, 0});
  mvk::face::convert_landmarks_from_std(points, points);
  EXPECT_EQ(points[3].x, 1.0F);  // halfway between point 4 and the missing point 6
}

}  // namespace
