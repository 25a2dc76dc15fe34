// Contours reduced to polygons with fewer points, each in place.
#pragma once

#include "core/contours/contours.h"

namespace outline {

// Polygons within 1 % of each contour's length (cv::approxPolyDP).
void use_approxPolyDP(kel::Contours& contours);

// Convex hulls (cv::convexHull).
void use_convexHull(kel::Contours& contours);

}  // namespace outline
