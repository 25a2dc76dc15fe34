// Contour lists as cv::findContours makes them, and the routines that pick from and reshape them.
#pragma once

#include <cstdint>
#include <opencv2/core.hpp>
#include <set>
#include <vector>

namespace outline {

using Contour = std::vector<cv::Point>;
using Contours = std::vector<Contour>;
using Hierarchy = std::vector<cv::Vec4i>;  // next, previous, first child, parent; -1 for none

// Inserts the main contours: the largest one (the first of several) and its later siblings, or its
// earlier ones when it is the last. 0 is inserted when there is no contour.
void get_max_hierarchy_index(std::set<int32_t>& set, const Contours& contours,
                             const Hierarchy& hierarchy);

// Replaces every contour by a polygon within 1 % of its length (cv::approxPolyDP).
void use_approxPolyDP(Contours& contours);

// Replaces every contour by its convex hull (cv::convexHull).
void use_convexHull(Contours& contours);

// Moves points that lie within two pixels of the border of an image onto it.
void snap_to_edges(Contours& contours, cv::Size size);

}  // namespace outline
