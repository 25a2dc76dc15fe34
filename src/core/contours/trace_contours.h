#pragma once

#include "core/contours/bit_mask.h"
#include "core/contours/contours.h"

namespace kel {

// The contours of the shapes in a mask: the lists of cv::findContours with cv::RETR_TREE, in its
// order. `approximation` is cv::CHAIN_APPROX_NONE or cv::CHAIN_APPROX_SIMPLE. Previous
// contents of the lists are discarded.
//
// Borders are followed from one end of a run to the next, so that the cost depends on the number of
// runs; cv::findContours steps from pixel to pixel.
void trace_contours(const BitMask& mask, int approximation, Contours& contours,
                    Hierarchy& hierarchy);

}  // namespace kel
