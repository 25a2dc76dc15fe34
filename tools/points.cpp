#include "points.h"

#include <charconv>
#include <cmath>
#include <optional>
#include <string_view>

#include "pictures/files.h"

namespace tool {
namespace {

constexpr float kFarthest = 1e6f;  // pixels from the origin

bool take_coordinate(std::string_view& text, float& value) {
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
  if (error != std::errc() || !(std::abs(value) <= kFarthest)) return false;
  text.remove_prefix(static_cast<size_t>(end - text.data()));
  return true;
}

std::optional<FilePoint> parse_point(std::string_view line) {
  if (line.ends_with('\r')) line.remove_suffix(1);
  FilePoint point;
  if (!take_coordinate(line, point.x) || !line.starts_with(',')) return std::nullopt;
  line.remove_prefix(1);
  if (!take_coordinate(line, point.y) || !line.empty()) return std::nullopt;
  return point;
}

}  // namespace

std::vector<FilePoint> read_points(const std::string& path) {
  const Bytes file = read_file(path);
  std::string_view text(reinterpret_cast<const char*>(file.data()), file.size());
  text = text.substr(0, text.find_last_not_of(" \t\r\n") + 1);
  std::vector<FilePoint> points;
  for (size_t start = 0; start < text.size();) {
    const size_t end = std::min(text.find('\n', start), text.size());
    const std::optional<FilePoint> point = parse_point(text.substr(start, end - start));
    if (!point) {
      throw Failure(shown_name(path) + ": line " + std::to_string(points.size() + 1) +
                    " is not a point; X,Y in pixels is expected, such as 232.5,118");
    }
    points.push_back(*point);
    start = end + 1;
  }
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
