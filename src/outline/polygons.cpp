#include "outline/polygons.h"

#include <opencv2/imgproc.hpp>

#include "outline/closed_length.h"

namespace outline {

void use_approxPolyDP(kel::Contours& contours) {
  constexpr double kTolerance = 0.01F;  // of the length; the single-precision value
  kel::Contour polygon;
  for (kel::Contour& contour : contours) {
    cv::approxPolyDP(contour, polygon, closed_length(contour) * kTolerance, true);
    contour.swap(polygon);
  }
}

void use_convexHull(kel::Contours& contours) {
  kel::Contour hull;
  for (kel::Contour& contour : contours) {
    cv::convexHull(contour, hull, true, true);
    contour.swap(hull);
  }
}

}  // namespace outline
