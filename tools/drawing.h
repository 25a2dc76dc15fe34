// Lines and dots with smooth edges, for pictures that show what was found.
#pragma once

#include <vector>

#include "options.h"
#include "pictures/picture.h"

namespace tool {

struct Point {
  double x = 0;  // pixels; (0, 0) is the centre of the top-left pixel
  double y = 0;
};
using Polyline = std::vector<Point>;

double distance_to(const Polyline& line, Point point);

// The same place in a picture of another size that shows the same scene.
Point scaled(Point point, Size from, Size to);

// What was drawn so far: how much of each pixel is covered. Overlapping strokes do not add up.
class Ink {
 public:
  explicit Ink(Size size);
  void line(Point a, Point b, double width);
  void polyline(const Polyline& points, bool closed, double width);
  void dot(Point center, double diameter) { line(center, center, diameter); }
  void paint(Picture& photo, Color color) const;  // photo is RGB24 of the same size

 private:
  Size size_;
  std::vector<float> cover_;
};

// Closed lines with a dark halo, as wide as suits the photograph. Points are those of a picture of
// the size `traced` that shows the same scene.
void draw_outlines(Picture& photo, const std::vector<std::vector<TPOINT>>& outlines, Size traced,
                   Color color);

// How much larger than a picture of 600 pixels one is: for the width of lines.
double drawing_scale(Size size);

// B, G and R of a pixel moved towards a colour by share, 0 to 1.
void blend(uint8_t* pixel, Color color, double share);

}  // namespace tool
