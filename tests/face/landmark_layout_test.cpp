// Std and internal layout, pixels and vertex space.
#include <gtest/gtest.h>

#include <cmath>

#include "face/landmark_layout.h"
#include "face/vertex_space.h"
#include "support/test_image.h"

namespace {

using mvk::face::LandmarkPoint;
using mvk::face::LandmarkVector;

LandmarkVector convert(const LandmarkVector& std_points) {
  LandmarkVector internal(200);
  mvk::face::convert_landmarks_from_std(internal, std_points);
  return internal;
}

// Points first ... last of a layout change places with sum - i when a face is mirrored.
struct MirroredRun {
  size_t first, last, sum;
};
constexpr MirroredRun kStdMirror[] = {
    {0, 32, 32},   {43, 43, 86},   {44, 44, 88},   {45, 45, 90},  {46, 46, 92},  {47, 51, 98},
    {52, 55, 113}, {58, 61, 113},  {56, 57, 119},  {62, 63, 119}, {72, 72, 147}, {75, 75, 147},
    {73, 73, 149}, {76, 76, 149},  {78, 79, 157},  {80, 81, 161}, {82, 83, 165}, {84, 90, 174},
    {91, 95, 186}, {96, 100, 196}, {101, 103, 204}};
constexpr MirroredRun kInternalMirror[] = {
    {0, 18, 18},   {39, 45, 96},  {51, 57, 96},  {46, 50, 108}, {58, 62, 108}, {63, 74, 137},
    {75, 75, 150}, {76, 82, 158}, {83, 87, 170}, {88, 92, 180}, {93, 95, 188}};

template <size_t N>
LandmarkVector mirrored(const LandmarkVector& points, const MirroredRun (&runs)[N]) {
  LandmarkVector result(points.size());
  for (const MirroredRun& run : runs) {
    for (size_t i = run.first; i <= run.last; ++i) {
      result[i] = {-points[run.sum - i].x, points[run.sum - i].y};
    }
  }
  return result;
}

// The left half and the brows by value, with std point i at x = i; the right half by symmetry.
TEST(LandmarkLayout, LeftHalfByIndex) {
  LandmarkVector face(106);
  for (size_t i = 0; i < face.size(); ++i) {
    face[i] = {static_cast<float>(i), 1000.0F - static_cast<float>(i)};
  }
  const std::pair<size_t, std::vector<float>> runs[] = {
      {0, {0, 1, 3, 5, 7, 8.5, 10.5, 13, 14.5, 16}},
      {19, {33, 33.5, 34, 35, 36, 37, 66, 65, 64, 48.5}},
      {29, {38, 38.5, 39, 40, 41, 42, 71, 70, 69, 53.5}},
      {39, {52, 52.5, 53, 72, 54, 54.5, 55, 55.5, 56, 73, 57, 54.5}},
      {63, {78, 79, 80, 80, 82, 48}},
      {75, {46, 84, 85, 86, 87}},
      {83, {91, 92, 93}},
      {88, {96, 97, 98}},
      {93, {101, 102}}};
  const LandmarkVector internal = convert(face);
  ASSERT_EQ(internal.size(), 96u);
  for (const auto& [first, values] : runs) {
    for (size_t i = 0; i < values.size(); ++i) {
      EXPECT_EQ(internal[first + i].x, values[i]) << first + i;
      EXPECT_EQ(internal[first + i].y, 1000.0F - values[i]) << first + i;
    }
  }
}

TEST(LandmarkLayout, RightHalfBySymmetry) {
  test::Random random(2);
  LandmarkVector face(106);
  for (LandmarkPoint& point : face) {
    point = {static_cast<float>(random.range(0, 4000)), static_cast<float>(random.range(0, 4000))};
  }
  const LandmarkVector expected = convert(face);
  const LandmarkVector internal = mirrored(convert(mirrored(face, kStdMirror)), kInternalMirror);
  for (size_t i = 0; i < 96; ++i) {
    if (i >= 19 && i < 39) continue;  // the brows are numbered from left to right
    EXPECT_EQ(internal[i].x, expected[i].x) << i;
    EXPECT_EQ(internal[i].y, expected[i].y) << i;
  }
}

TEST(LandmarkLayout, OtherCountsAndTheSameMemory) {
  LandmarkVector points(130, LandmarkPoint{8.0F, 4.0F});
  mvk::face::convert_landmarks_from_std(points, points);
  ASSERT_EQ(points.size(), 96u);
  EXPECT_EQ(points[95].x, 8.0F);
  points.resize(5);
  mvk::face::convert_landmarks_from_std(points, points);
  ASSERT_EQ(points.size(), 96u);
  EXPECT_EQ(points[2].x, 8.0F);
  EXPECT_EQ(points[3].y, 2.0F);  // halfway between point 4 and the missing point 6
  EXPECT_EQ(points[95].x, 0.0F);
}

// The two roundings into vertex space and the single one back, from products that are exact in
// double precision.
TEST(VertexSpace, RoundsWhereItShould) {
  test::Random random(3);
  int division_differs = 0;
  int unfused_differs = 0;
  for (int round = 0; round < 20000; ++round) {
    const uint32_t w = static_cast<uint32_t>(random.range(2, 5000));
    const uint32_t h = static_cast<uint32_t>(random.range(2, 5000));
    const LandmarkPoint pixel{static_cast<float>(random.range(0, 5000)),
                              static_cast<float>(random.range(0, 5000))};
    const LandmarkPoint vertex = mvk::face::convert_landmarks_to_vertexs<float>({pixel}, w, h)[0];
    const float numerator = static_cast<float>(1.0 - w + 2.0 * pixel.x);
    EXPECT_EQ(vertex.x, static_cast<float>(double{numerator} * static_cast<float>(1.0 / (w - 1))));
    EXPECT_EQ(vertex.y, static_cast<float>((h - 1.0 - 2.0 * pixel.y) *
                                           double{static_cast<float>(1.0 / (h - 1))}));
    division_differs += vertex.x != numerator / static_cast<float>(w - 1);

    const LandmarkPoint back = mvk::face::convert_vertexs_to_landmarks<float>({vertex}, w, h)[0];
    EXPECT_EQ(back.x, static_cast<float>(double{vertex.x} * (w - 1) + w) * 0.5F - 0.5F);
    EXPECT_EQ(back.y, static_cast<float>(h - 0.5) -
                          static_cast<float>(double{vertex.y} * (h - 1) + h) * 0.5F);
    EXPECT_NEAR(back.x, pixel.x, 1e-3F);
    EXPECT_NEAR(back.y, pixel.y, 1e-3F);
    volatile float product = vertex.x * static_cast<float>(w - 1);
    unfused_differs += back.x != (static_cast<float>(w) + product) * 0.5F - 0.5F;
  }
  EXPECT_GT(division_differs, 1000);
  EXPECT_GT(unfused_differs, 1000);
}

}  // namespace
