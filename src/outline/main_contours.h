#pragma once

#include <cstdint>
#include <set>

#include "core/contours/contours.h"

namespace outline {

// Inserts the main contours: the largest one (the first of several) and its later siblings, or its
// earlier ones when it is the last. 0 is inserted when there is no contour.
void get_max_hierarchy_index(std::set<int32_t>& set, const kel::Contours& contours,
                             const kel::Hierarchy& hierarchy);

}  // namespace outline
