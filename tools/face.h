// Landmarks of a face in text files.
#pragma once

#include <string>
#include <vector>

#include "points.h"

namespace tool {

// Throws when the file has none of these numbers of points.
std::vector<FilePoint> read_face(const std::string& path, const std::vector<size_t>& counts);

}  // namespace tool
