#include "outline/fill_contours.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <opencv2/imgproc.hpp>
#include <utility>

namespace outline {
namespace {

// Horizontal positions are fixed-point numbers with 16 fractional bits, as in OpenCV: the slope of
// an edge is truncated to that, so its rounding decides which pixels are filled.
constexpr int kFractionBits = 16;
constexpr int64_t kOne = int64_t{1} << kFractionBits;

// An edge crosses a row at this position.
struct Crossing {
  int32_t row;
  int64_t x;
  bool operator<(const Crossing& other) const {
    return row != other.row ? row < other.row : x < other.x;
  }
};

// Fills one contour after the other; the crossings' memory is kept between them.
class Filler {
 public:
  Filler(cv::Mat& image, uint8_t value) : image_(image), value_(value) {}

  void fill(const Contour& contour) {
    if (contour.empty()) return;
    crossings_.clear();
    cv::Point from = contour.back();
    for (const cv::Point to : contour) {
      draw_line(from, to);
      add_crossings(from, to);
      from = to;
    }
    fill_between_crossings();
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

  // Of an edge, the rows from its upper point to above its lower one, as far as the image goes.
  void add_crossings(cv::Point from, cv::Point to) {
    if (from.y == to.y) return;
    const cv::Point upper = from.y < to.y ? from : to;
    const int64_t slope = (int64_t{to.x} - from.x) * kOne / (int64_t{to.y} - from.y);
    const int32_t last = std::min(std::max(from.y, to.y), image_.rows);
    for (int32_t row = std::max(upper.y, 0); row < last; ++row) {
      crossings_.push_back({row, upper.x * kOne + (int64_t{row} - upper.y) * slope});
    }
  }

  // Every row has an even number of crossings; each pair of neighbours bounds a run.
  void fill_between_crossings() {
    std::sort(crossings_.begin(), crossings_.end());
    for (size_t i = 0; i + 1 < crossings_.size(); i += 2) {
      const int64_t left = (crossings_[i].x + kOne - 1) >> kFractionBits;
      const int64_t right = crossings_[i + 1].x >> kFractionBits;
      const int64_t begin = std::max<int64_t>(left, 0);
      const int64_t end = std::min<int64_t>(right + 1, image_.cols);
      if (begin >= end) continue;
      std::memset(image_.ptr(crossings_[i].row) + begin, value_, static_cast<size_t>(end - begin));
    }
  }

  cv::Mat& image_;
  uint8_t value_;
  std::vector<Crossing> crossings_;
};

}  // namespace

void fill_contours(cv::Mat& image, const Contours& contours, uint8_t value) {
  Filler filler(image, value);
  for (const Contour& contour : contours) filler.fill(contour);
}

}  // namespace outline
