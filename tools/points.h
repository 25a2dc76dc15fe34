// Points in text files, one per line: X,Y
#pragma once

#include <string>
#include <vector>

#include "session.h"

namespace tool {

struct FilePoint {
  float x = 0;
  float y = 0;
};

// Throws when a line is not two numbers with a comma between them, or is out of all proportion.
// Blank lines at the end are fine.
std::vector<FilePoint> read_points(const std::string& path);

std::vector<TPOINT> rounded(const std::vector<FilePoint>& points);

}  // namespace tool
