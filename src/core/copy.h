// Copies between images of one format.
#pragma once

#include "core/pixel_region.h"

namespace kel::imageprocess {

// Copies the rows of src where both planes have the same shape; returns whether it did so.
bool copy_plane(Plane& dst, const Plane& src);

// As many rows and bytes as dst has; both may be the same.
void copy_rows(Plane& dst, const Plane& src);

// Copies src to dst, both of the same format; images that do not fit each other are left alone.
void copy(KelPixelRegion dst, KelPixelRegion src);

}  // namespace kel::imageprocess
