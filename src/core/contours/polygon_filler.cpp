#include "core/contours/polygon_filler.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <iterator>
#include <opencv2/imgproc.hpp>
#include <utility>

namespace kel {
namespace {

// Horizontal positions are fixed-point numbers with 16 fractional bits, as in OpenCV: the slope of
// an edge is truncated to that, so its rounding decides which pixels are filled.
constexpr int kFractionBits = 16;
constexpr int64_t kOne = int64_t{1} << kFractionBits;

}  // namespace

void PolygonFiller::add(const Contour& polygon) {
  if (polygon.empty()) return;
  cv::Point from = polygon.back();
  for (const cv::Point to : polygon) {
    draw_line(from, to);
    add_edge(from, to);
    from = to;
  }
}

void PolygonFiller::fill() {
  std::sort(edges_.begin(), edges_.end(), is_earlier);
  fill_between_edges();
  edges_.clear();
}

bool PolygonFiller::contains(cv::Point p) const {
  return p.x >= 0 && p.y >= 0 && p.x < image_.cols && p.y < image_.rows;
}

void PolygonFiller::draw_line(cv::Point from, cv::Point to) {
  if (contains(from) && contains(to) && std::abs(from.x - to.x) <= 1 &&
      std::abs(from.y - to.y) <= 1) {
    image_.at<uint8_t>(from) = value_;
    image_.at<uint8_t>(to) = value_;
  } else {
    cv::line(image_, from, to, cv::Scalar(value_), 1, cv::LINE_8);
  }
}

void PolygonFiller::add_edge(cv::Point from, cv::Point to) {
  const auto [upper, lower] = from.y < to.y ? std::pair(from, to) : std::pair(to, from);
  const int32_t row = std::max(upper.y, 0);
  const int32_t end_row = std::min(lower.y, image_.rows);
  if (row >= end_row) return;
  const int64_t slope = (int64_t{to.x} - from.x) * kOne / (int64_t{to.y} - from.y);
  edges_.push_back({row, end_row, upper.x * kOne + (int64_t{row} - upper.y) * slope, slope});
}

void PolygonFiller::fill_between_edges() {
  crossing_.clear();
  auto next = edges_.cbegin();
  for (int32_t row = 0; next != edges_.cend() || !crossing_.empty(); ++row) {
    if (crossing_.empty()) row = next->row;
    if (next != edges_.cend() && next->row == row) {
      const auto first = next;
      while (next != edges_.cend() && next->row == row) ++next;
      merged_.clear();
      std::merge(crossing_.cbegin(), crossing_.cend(), first, next, std::back_inserter(merged_),
                 is_left);
      crossing_.swap(merged_);
    }
    fill_row(image_.ptr(row));
    step_behind(row);
  }
}

// Every row is crossed an even number of times; each pair of neighbours bounds a run.
void PolygonFiller::fill_row(uint8_t* pixels) const {
  for (size_t i = 0; i + 1 < crossing_.size(); i += 2) {
    const int64_t left = (crossing_[i].x + kOne - 1) >> kFractionBits;
    const int64_t right = crossing_[i + 1].x >> kFractionBits;
    const int64_t begin = std::max<int64_t>(left, 0);
    const int64_t end = std::min<int64_t>(right + 1, image_.cols);
    if (begin < end) std::memset(pixels + begin, value_, static_cast<size_t>(end - begin));
  }
}

// Keeps the edges that go on, sorted: few of them change places from row to row.
void PolygonFiller::step_behind(int32_t row) {
  size_t kept = 0;
  for (size_t i = 0; i < crossing_.size(); ++i) {
    Edge edge = crossing_[i];
    if (edge.end_row == row + 1) continue;
    edge.x += edge.slope;
    size_t to = kept++;
    for (; to > 0 && is_left(edge, crossing_[to - 1]); --to) crossing_[to] = crossing_[to - 1];
    crossing_[to] = edge;
  }
  crossing_.resize(kept);
}

}  // namespace kel
