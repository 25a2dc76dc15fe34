#include "drawing.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace tool {
namespace {

double distance_to_segment(Point p, Point a, Point b) {
  const Point along{b.x - a.x, b.y - a.y};
  const double length2 = along.x * along.x + along.y * along.y;
  const double dot = (p.x - a.x) * along.x + (p.y - a.y) * along.y;
  const double t = length2 > 0 ? std::clamp(dot / length2, 0.0, 1.0) : 0.0;
  return std::hypot(p.x - a.x - t * along.x, p.y - a.y - t * along.y);
}

}  // namespace

double distance_to(const Polyline& line, Point point) {
  double nearest = std::numeric_limits<double>::infinity();
  for (size_t i = 1; i < line.size(); ++i) {
    nearest = std::min(nearest, distance_to_segment(point, line[i - 1], line[i]));
  }
  return nearest;
}

Point scaled(Point point, Size from, Size to) {
  return {(point.x + 0.5) * to.width / from.width - 0.5,
          (point.y + 0.5) * to.height / from.height - 0.5};
}

void blend(uint8_t* pixel, Color color, double share) {
  const uint8_t target[3] = {color.blue, color.green, color.red};
  for (int c = 0; c < 3; ++c) {
    pixel[c] = static_cast<uint8_t>(std::lround(pixel[c] + share * (target[c] - pixel[c])));
  }
}

Ink::Ink(Size size)
    : size_(size),
      cover_(static_cast<size_t>(size.width) * static_cast<size_t>(size.height), 0.0f) {}

void Ink::line(Point a, Point b, double width) {
  const double reach = width / 2 + 1;
  const auto bound = [](double value, int side) {
    return static_cast<int>(std::clamp(value, 0.0, static_cast<double>(side)));
  };
  const int left = bound(std::min(a.x, b.x) - reach, size_.width);
  const int right = bound(std::max(a.x, b.x) + reach + 1, size_.width);
  const int top = bound(std::min(a.y, b.y) - reach, size_.height);
  const int bottom = bound(std::max(a.y, b.y) + reach + 1, size_.height);
  for (int y = top; y < bottom; ++y) {
    float* row = cover_.data() + static_cast<size_t>(y) * static_cast<size_t>(size_.width);
    for (int x = left; x < right; ++x) {
      const double distance =
          distance_to_segment({static_cast<double>(x), static_cast<double>(y)}, a, b);
      const auto cover = static_cast<float>(std::clamp(width / 2 + 0.5 - distance, 0.0, 1.0));
      row[x] = std::max(row[x], cover);
    }
  }
}

void Ink::polyline(const Polyline& points, bool closed, double width) {
  if (points.empty()) return;
  for (size_t i = 1; i < points.size(); ++i) line(points[i - 1], points[i], width);
  if (closed || points.size() == 1) line(points.back(), points.front(), width);
}

void Ink::paint(Picture& photo, Color color) const {
  const float* cover = cover_.data();
  for (int y = 0; y < size_.height; ++y) {
    uint8_t* row = photo.row(y);
    for (int x = 0; x < size_.width; ++x, ++cover) {
      if (*cover > 0) blend(row + 3 * x, color, static_cast<double>(*cover));
    }
  }
}

double drawing_scale(Size size) { return std::max(size.width, size.height) / 600.0; }

void draw_outlines(Picture& photo, const std::vector<std::vector<TPOINT>>& outlines, Size traced,
                   Color color) {
  const double width = std::max(1.5, 2.5 * drawing_scale(photo.size()));
  Ink halo(photo.size());
  Ink ink(photo.size());
  for (const std::vector<TPOINT>& outline : outlines) {
    Polyline line;
    for (const TPOINT& point : outline) {
      line.push_back(scaled({static_cast<double>(point.x), static_cast<double>(point.y)}, traced,
                            photo.size()));
    }
    halo.polyline(line, true, 2 * width);
    ink.polyline(line, true, width);
  }
  halo.paint(photo, {0, 0, 0});
  ink.paint(photo, color);
}

}  // namespace tool
