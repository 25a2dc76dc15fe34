#include "core/contours/fill_contours.h"

#include "core/contours/polygon_filler.h"

namespace kel {

void fill_contours(BitMask& mask, const Contours& contours) {
  PolygonFiller filler(mask);
  for (const Contour& contour : contours) {
    filler.add(contour);
    filler.fill();
  }
}

void fill_top_level(BitMask& mask, const Contours& contours, const Hierarchy& hierarchy) {
  PolygonFiller filler(mask);
  for (size_t i = 0; i < contours.size(); ++i) {
    if (hierarchy[i][kParent] < 0) filler.add(contours[i]);
  }
  filler.fill();
}

}  // namespace kel
