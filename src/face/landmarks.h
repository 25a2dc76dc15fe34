// The full landmark set of a face, and the forehead points in it.
#pragma once

#include <array>
#include <cstdint>

#include "face/landmark_layout.h"

namespace mvk::face {

// Points [begin, end) of the full set.
struct IndexRange {
  int32_t begin;
  int32_t end;
};

class Landmarks {
 public:
  Landmarks(uint32_t image_width, uint32_t image_height, bool forehead_on_top)
      : width(image_width), height(image_height), top_side(forehead_on_top) {}
  virtual ~Landmarks() = default;

  // Appends the forehead band, 15 points, to 96 points in vertex space.
  void add_forehead(LandmarkVector& vertexs) const;
  // Fills the band at the end of vertexs: 11 points of the outline (96 ... 106), the middle of the
  // nose root (107), three points on the line from the tip of the nose to the apex (108 ... 110).
  void _add_forehead(LandmarkVector& vertexs) const;

  uint32_t width;  // of the image, pixels
  uint32_t height;
  bool top_side;
  int32_t point_count = 306;
  // The first is the forehead band; the others belong to sets with more points than this library
  // computes.
  std::array<IndexRange, 8> ranges{{{96, 111},
                                    {111, 117},
                                    {117, 123},
                                    {123, 218},
                                    {218, 242},
                                    {242, 257},
                                    {257, 302},
                                    {302, 306}}};
};

// The 11 outline points of the forehead in pixels, from 106 points (std layout) or 96 (internal
// layout) in pixels. With any other count the first 96 are taken as the internal layout.
LandmarkVector get_forehead_points(const LandmarkVector& landmarks, int width, int height);

}  // namespace mvk::face
