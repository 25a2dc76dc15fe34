#include "face.h"

#include <algorithm>

#include "pictures/files.h"

namespace tool {

std::vector<FilePoint> read_face(const std::string& path, const std::vector<size_t>& counts) {
  std::vector<FilePoint> points = read_points(path);
  if (std::count(counts.begin(), counts.end(), points.size()) == 0) {
    throw Failure(shown_name(path) + " has " + std::to_string(points.size()) +
                  " points; a face has " + (counts.size() == 1 ? "106" : "106 or 96"));
  }
  return points;
}

}  // namespace tool
