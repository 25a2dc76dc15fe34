// From the std to the internal layout.
#include "face/landmark_layout.h"

#include <gtest/gtest.h>

// Std point i lies at x = i, so the internal points tell where they come from.
TEST(LandmarkLayout, InternalPointsComeFrom) {
  const float expected[] = {
      0,  1,  3,    5,  7,    8.5, 10.5, 13, 14.5, 16, 17.5, 19, 21.5, 23.5, 25,   27,
      29, 31, 32,   33, 33.5, 34,  35,   36, 37,   66, 65,   64, 48.5, 38,   38.5, 39,
      40, 41, 42,   71, 70,   69,  53.5, 52, 52.5, 53, 72,   54, 54.5, 55,   55.5, 56,
      73, 57, 54.5, 58, 58.5, 59,  75,   60, 60.5, 61, 61.5, 62, 76,   63,   60.5, 78,
      79, 80, 80,   82, 48,   50,  83,   81, 81,   80, 79,   46, 84,   85,   86,   87,
      88, 89, 90,   91, 92,   93,  94,   95, 96,   97, 98,   99, 100,  101,  102,  103};
  mvk::face::LandmarkVector points;
  for (float x = 0.0F; x < 130.0F; ++x) points.push_back({x, -x});  // more than it uses
  mvk::face::LandmarkVector in_place = points;
  mvk::face::convert_landmarks_from_std(points, points);
  mvk::face::convert_landmarks_from_std(in_place, &in_place[0].x);
  ASSERT_EQ(points.size(), 96u);
  for (size_t i = 0; i < points.size(); ++i) {
    for (const auto p : {points[i], in_place[i]})
      EXPECT_TRUE(p.x == expected[i] && p.y == -expected[i]) << i;
  }
  points.assign({{0, 0}, {1, 0}, {2, 0}, {3, 0}, {4, 0}});
  mvk::face::convert_landmarks_from_std(points, points);
  EXPECT_EQ(points[3].x, 2.0F);  // halfway between point 4 and the missing point 6
}
