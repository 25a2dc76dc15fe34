// Landmark layouts: the 106 points of detectors (std) and the 96 points that the face models index
// (internal). docs/landmarks.md shows both.
#pragma once

#include <cstddef>
#include <vector>

#include "core/geometry_types.h"

namespace mvk::face {

// In pixels, x to the right and y down, unless a function says vertex space (vertex_space.h).
using LandmarkPoint = kel::Point2D_<float>;
using LandmarkVector = std::vector<LandmarkPoint>;

inline constexpr size_t kStdPoints = 106;
inline constexpr size_t kInternalPoints = 96;

// Converts the first 106 points of src to the internal layout; missing points are taken as (0, 0).
// dst gets 96 points and may be src.
void convert_landmarks_from_std(LandmarkVector& dst, const LandmarkVector& src);

// The same from 106 interleaved x, y pairs into the first 96 points of dst, which may overlap them.
void convert_landmarks_from_std(LandmarkVector& dst, const float* std_points);

}  // namespace mvk::face
