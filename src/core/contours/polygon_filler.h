// Filled polygons at a cost that depends on what is seen of them.
#pragma once

#include <cstdint>
#include <vector>

#include "core/contours/bit_mask.h"
#include "core/contours/contours.h"

namespace kel {

// Sets the pixels that cv::drawContours paints, filled, line type 0. That call keeps a sorted list
// of the edges that cross a row, and steps through all rows from the topmost point: seconds for
// noise, or when a point lies far outside the image. Here each edge, whatever the others do,
// toggles one bit in each of its rows; a pixel is inside where an odd number of bits up to it is
// set. Memory is kept from one filling to the next.
class PolygonFiller {
 public:
  explicit PolygonFiller(BitMask& mask) : mask_(mask), toggles_(mask.width(), mask.height()) {}

  // Draws the boundary of a polygon; its inside follows with the next fill().
  void add(const Contour& polygon);
  // Without the boundary, except pixels whose centre it hits.
  void add_inside(const Contour& polygon);
  // Fills what the polygons added since the last time enclose an odd number of times.
  void fill();

 private:
  void draw_side(cv::Point from, cv::Point to);
  void cross_rows(cv::Point from, cv::Point to, bool has_line);
  void toggle(int64_t column, int32_t row);
  void toggle_inside(int64_t x, int64_t slope, int32_t row, int32_t end_row);
  void fill_row(int32_t row);

  BitMask& mask_;
  BitMask toggles_;  // pixels at which, going right, inside and outside swap; 0 between fillings
  // Rows and words with such pixels.
  int32_t first_row_ = INT32_MAX;
  int32_t last_row_ = -1;
  int64_t first_word_ = INT64_MAX;
  int64_t last_word_ = -1;
};

}  // namespace kel
