#pragma once

#include "core/geometry_types.h"

namespace mvk::face {

// Where the line through c and a crosses the line through d and b; (0, 0) when the directions
// c -> a and d -> b are within 0.1 degree of each other or one of them is not defined.
kel::Point2D_<float> get_intersection(const kel::Point2D_<float>& a, const kel::Point2D_<float>& b,
                                      const kel::Point2D_<float>& c, const kel::Point2D_<float>& d);

}  // namespace mvk::face
