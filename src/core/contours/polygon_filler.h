// Filled polygons at a cost that depends on what is seen of them.
#pragma once

#include <cstdint>
#include <vector>

#include "core/contours/contours.h"

namespace kel {

// Gives the bytes of cv::drawContours, filled, line type 0. That call looks at every active edge
// for every edge that begins in a row, and steps through all rows from the topmost point: seconds
// for noise, or when a point lies far outside the image. Memory is kept from one filling to the
// next.
class PolygonFiller {
 public:
  // Paints `value` into an 8-bit image.
  PolygonFiller(cv::Mat& image, uint8_t value) : image_(image), value_(value) {}

  // Draws the boundary of a polygon; its inside follows with the next fill().
  void add(const Contour& polygon);
  // Fills what the polygons added since the last time enclose an odd number of times.
  void fill();

 private:
  // A side of a polygon, as far as it lies in the rows of the image.
  struct Edge {
    int32_t row;      // the first of its rows
    int32_t end_row;  // behind the last: the row of the lower end is not crossed
    int64_t x;        // in the row that is filled
    int64_t slope;
  };

  static bool is_left(const Edge& a, const Edge& b) { return a.x < b.x; }
  static bool is_earlier(const Edge& a, const Edge& b) {
    return a.row != b.row ? a.row < b.row : a.x < b.x;
  }
  bool contains(cv::Point p) const;
  void draw_line(cv::Point from, cv::Point to);
  void add_edge(cv::Point from, cv::Point to);
  void fill_between_edges();
  void fill_row(uint8_t* pixels) const;
  void step_behind(int32_t row);

  cv::Mat& image_;
  uint8_t value_;
  std::vector<Edge> edges_;     // of the polygons added
  std::vector<Edge> crossing_;  // those that cross the row, from left to right
  std::vector<Edge> merged_;    // the next ones, while edges that begin are put among them
};

}  // namespace kel
