#include "core/contours/fill_contours.h"

#include "core/contours/polygon_filler.h"

namespace kel {

void fill_contours(cv::Mat& image, const Contours& contours, uint8_t value) {
  PolygonFiller filler(image, value);
  for (const Contour& contour : contours) {
    filler.add(contour);
    filler.fill();
  }
}

void fill_top_level(cv::Mat& image, const Contours& contours, const Hierarchy& hierarchy,
                    uint8_t value) {
  PolygonFiller filler(image, value);
  for (size_t i = 0; i < contours.size(); ++i) {
    if (hierarchy[i][kParent] < 0) filler.add(contours[i]);
  }
  filler.fill();
}

}  // namespace kel
