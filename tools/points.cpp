#include "points.h"

#include <charconv>
#include <cmath>
#include <string_view>

#include "pictures/files.h"

namespace tool {
namespace {

constexpr float kFarthest = 1e6f;  // pixels from the origin

bool take_coordinate(std::string_view& text) {
  float value = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
  if (error != std::errc() || !(std::abs(value) <= kFarthest)) return false;
  text.remove_prefix(static_cast<size_t>(end - text.data()));
  return true;
}

bool is_point(std::string_view line) {
  if (line.ends_with('\r')) line.remove_suffix(1);
  if (!take_coordinate(line) || !line.starts_with(',')) return false;
  line.remove_prefix(1);
  return take_coordinate(line) && line.empty();
}

}  // namespace

std::vector<FilePoint> read_points(const std::string& path, Session& session) {
  const Bytes file = read_file(path);
  const std::string_view text(reinterpret_cast<const char*>(file.data()), file.size());
  int count = 0;
  for (size_t start = 0; start < text.size();) {
    const size_t end = std::min(text.find('\n', start), text.size());
    ++count;
    if (!is_point(text.substr(start, end - start))) {
      throw Failure(path + ": line " + std::to_string(count) +
                    " is not a point; X,Y in pixels is expected, such as 232.5,118");
    }
    start = end + 1;
  }
  std::vector<FilePoint> points(static_cast<size_t>(count));
  session.call("mvk_read_landmarks",
               [&] { return mvk_read_landmarks(points.data(), count, path.c_str(), 1, 2, ','); });
  return points;
}

std::vector<TPOINT> rounded(const std::vector<FilePoint>& points) {
  std::vector<TPOINT> whole;
  for (const FilePoint& point : points) {
    whole.push_back(
        {static_cast<int32_t>(std::lround(point.x)), static_cast<int32_t>(std::lround(point.y))});
  }
  return whole;
}

}  // namespace tool
