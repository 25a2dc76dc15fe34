#include "face/landmark_layout.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>

namespace mvk::face {
namespace {

// An internal point halfway between two std points.
struct Midpoint {
  uint8_t internal, a, b;
};
// An internal point beside the bridge of the nose: root + (to - from).
struct Shifted {
  uint8_t internal, root, to, from;
};

// clang-format off
constexpr Midpoint kMidpoints[] = {
    // left half of the contour, right half of the contour
    {3, 4, 6}, {4, 6, 8}, {5, 8, 9}, {6, 9, 12}, {7, 12, 14}, {8, 14, 15},
    {10, 17, 18}, {11, 18, 20}, {12, 20, 23}, {13, 23, 24}, {14, 24, 26}, {15, 26, 28},
    // brows; 28 lies between the two outer ends
    {20, 33, 34}, {28, 33, 64}, {30, 38, 39}, {38, 38, 69},
    // left eye, right eye
    {40, 52, 53}, {44, 54, 55}, {46, 55, 56}, {50, 52, 57},
    {52, 58, 59}, {56, 60, 61}, {58, 61, 62}, {62, 58, 63},
};
constexpr Shifted kShifted[] = {
    {64, 78, 44, 43}, {65, 78, 45, 43}, {72, 79, 45, 43}, {73, 79, 44, 43},
};
// clang-format on

LandmarkPoint midpoint(LandmarkPoint a, LandmarkPoint b) {
  return {(a.x + b.x) * 0.5F, (a.y + b.y) * 0.5F};
}

}  // namespace

void convert_landmarks_from_std(LandmarkVector& dst, const LandmarkVector& src) {
  std::array<LandmarkPoint, kStdPoints> scratch{};
  std::copy_n(src.begin(), std::min(src.size(), kStdPoints), scratch.begin());
  dst.resize(kInternalPoints);
  convert_landmarks_from_std(dst, &scratch[0].x);
}

void convert_landmarks_from_std(LandmarkVector& dst, const float* std_points) {
  // The std point of each internal point, ten a line; -1 for the computed ones.
  // clang-format off
  static constexpr int32_t s_map2Std[kInternalPoints] = {
       0,   1,   3,  -1,  -1,  -1,  -1,  -1,  -1,  16,
      -1,  -1,  -1,  -1,  -1,  -1,  29,  31,  32,  33,
      -1,  34,  35,  36,  37,  66,  65,  64,  -1,  38,
      -1,  39,  40,  41,  42,  71,  70,  69,  -1,  52,
      -1,  53,  72,  54,  -1,  55,  -1,  56,  73,  57,
      -1,  58,  -1,  59,  75,  60,  -1,  61,  -1,  62,
      76,  63,  -1,  78,  -1,  -1,  80,  82,  48,  50,
      83,  81,  -1,  -1,  79,  46,  84,  85,  86,  87,
      88,  89,  90,  91,  92,  93,  94,  95,  96,  97,
      98,  99, 100, 101, 102, 103,
  };
  // clang-format on
  std::array<LandmarkPoint, kStdPoints> from;
  std::memcpy(from.data(), std_points, sizeof(from));
  for (size_t i = 0; i < kInternalPoints; ++i) {
    if (s_map2Std[i] >= 0) dst[i] = from[static_cast<size_t>(s_map2Std[i])];
  }
  for (const Midpoint& row : kMidpoints) dst[row.internal] = midpoint(from[row.a], from[row.b]);
  for (const Shifted& row : kShifted) {
    dst[row.internal] = {from[row.root].x + from[row.to].x - from[row.from].x,
                         from[row.root].y + from[row.to].y - from[row.from].y};
  }
}

}  // namespace mvk::face
