#include "outline/fill_contours.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <iterator>
#include <opencv2/imgproc.hpp>
#include <utility>

namespace outline {
namespace {

// Horizontal positions are fixed-point numbers with 16 fractional bits, as in OpenCV: the slope of
// an edge is truncated to that, so its rounding decides which pixels are filled.
constexpr int kFractionBits = 16;
constexpr int64_t kOne = int64_t{1} << kFractionBits;

// A side of a contour, as far as it lies in the rows of the image.
struct Edge {
  int32_t row;      // the first of its rows; later the one that x belongs to
  int32_t end_row;  // behind the last: the row of the lower end is not crossed
  int64_t x;
  int64_t slope;
};

bool is_left(const Edge& a, const Edge& b) { return a.x < b.x; }
bool is_earlier(const Edge& a, const Edge& b) { return a.row != b.row ? a.row < b.row : a.x < b.x; }

// Fills contours by the edges that cross each row. The memory is kept from one to the next.
class Filler {
 public:
  Filler(cv::Mat& image, uint8_t value) : image_(image), value_(value) {}

  // Draws the boundary of a contour; its inside follows with the next fill().
  void add(const Contour& contour) {
    if (contour.empty()) return;
    cv::Point from = contour.back();
    for (const cv::Point to : contour) {
      draw_line(from, to);
      add_edge(from, to);
      from = to;
    }
  }

  // Fills what the contours added since the last time enclose an odd number of times.
  void fill() {
    std::sort(edges_.begin(), edges_.end(), is_earlier);
    fill_between_edges();
    edges_.clear();
  }

 private:
  bool contains(cv::Point p) const {
    return p.x >= 0 && p.y >= 0 && p.x < image_.cols && p.y < image_.rows;
  }

  void draw_line(cv::Point from, cv::Point to) {
    if (contains(from) && contains(to) && std::abs(from.x - to.x) <= 1 &&
        std::abs(from.y - to.y) <= 1) {
      image_.at<uint8_t>(from) = value_;
      image_.at<uint8_t>(to) = value_;
    } else {
      cv::line(image_, from, to, cv::Scalar(value_), 1, cv::LINE_8);
    }
  }

  void add_edge(cv::Point from, cv::Point to) {
    const auto [upper, lower] = from.y < to.y ? std::pair(from, to) : std::pair(to, from);
    const int32_t row = std::max(upper.y, 0);
    const int32_t end_row = std::min(lower.y, image_.rows);
    if (row >= end_row) return;
    const int64_t slope = (int64_t{to.x} - from.x) * kOne / (int64_t{to.y} - from.y);
    edges_.push_back({row, end_row, upper.x * kOne + (int64_t{row} - upper.y) * slope, slope});
  }

  void fill_between_edges() {
    crossing_.clear();
    auto next = edges_.cbegin();
    while (next != edges_.cend() || !crossing_.empty()) {
      const int32_t row = crossing_.empty() ? next->row : crossing_.front().row;
      auto first = next;
      while (next != edges_.cend() && next->row == row) ++next;
      merged_.clear();
      std::merge(crossing_.cbegin(), crossing_.cend(), first, next, std::back_inserter(merged_),
                 is_left);
      fill_row(image_.ptr(row));
      step_to_next_row();
    }
  }

  // Every row is crossed an even number of times; each pair of neighbours bounds a run.
  void fill_row(uint8_t* pixels) {
    for (size_t i = 0; i + 1 < merged_.size(); i += 2) {
      const int64_t left = (merged_[i].x + kOne - 1) >> kFractionBits;
      const int64_t right = merged_[i + 1].x >> kFractionBits;
      const int64_t begin = std::max<int64_t>(left, 0);
      const int64_t end = std::min<int64_t>(right + 1, image_.cols);
      if (begin < end) std::memset(pixels + begin, value_, static_cast<size_t>(end - begin));
    }
  }

  // Keeps the edges that go on, sorted: few of them change places from row to row.
  void step_to_next_row() {
    crossing_.clear();
    for (Edge edge : merged_) {
      if (++edge.row == edge.end_row) continue;
      edge.x += edge.slope;
      crossing_.push_back(edge);
      for (size_t i = crossing_.size() - 1; i > 0 && is_left(crossing_[i], crossing_[i - 1]); --i) {
        std::swap(crossing_[i], crossing_[i - 1]);
      }
    }
  }

  cv::Mat& image_;
  uint8_t value_;
  std::vector<Edge> edges_;     // of the contours added
  std::vector<Edge> crossing_;  // those from the rows above that cross the row, from left to right
  std::vector<Edge> merged_;    // the same and those that begin there
};

}  // namespace

void fill_contours(cv::Mat& image, const Contours& contours, uint8_t value) {
  Filler filler(image, value);
  for (const Contour& contour : contours) {
    filler.add(contour);
    filler.fill();
  }
}

void fill_top_level(cv::Mat& image, const Contours& contours, const Hierarchy& hierarchy,
                    uint8_t value) {
  constexpr int kParent = 3;
  Filler filler(image, value);
  for (size_t i = 0; i < contours.size(); ++i) {
    if (hierarchy[i][kParent] < 0) filler.add(contours[i]);
  }
  filler.fill();
}

}  // namespace outline
