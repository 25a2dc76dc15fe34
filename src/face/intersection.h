#pragma once

#include "core/geometry_types.h"

namespace mvk::face {

// The intersection of the line through c and a with the line through d and b; (0, 0) if the angle
// between the directions c -> a and d -> b is below 0.1 degrees or undefined.
kel::Point2D_<float> get_intersection(const kel::Point2D_<float>& a, const kel::Point2D_<float>& b,
                                      const kel::Point2D_<float>& c, const kel::Point2D_<float>& d);

}  // namespace mvk::face
