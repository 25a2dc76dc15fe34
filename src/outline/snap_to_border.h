#pragma once

#include "core/contours/contours.h"

namespace outline {

// Moves points that lie within two pixels of the border of an image onto it.
void snap_to_border(kel::Contours& contours, cv::Size size);

}  // namespace outline
