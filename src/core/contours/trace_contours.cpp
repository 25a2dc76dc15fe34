#include "core/contours/trace_contours.h"

#include <array>
#include <opencv2/imgproc.hpp>
#include <utility>

#include "core/contours/summits.h"

namespace kel {
namespace {

// Anticlockwise, as seen, from the right.
enum Direction { kRight, kUpRight, kUp, kUpLeft, kLeft, kDownLeft, kDown, kDownRight };
constexpr int kNoDirection = -1;
struct Step {
  int32_t x;
  int32_t y;
};
constexpr std::array<Step, 8> kSteps{
    {{1, 0}, {1, -1}, {0, -1}, {-1, -1}, {-1, 0}, {-1, 1}, {0, 1}, {1, 1}}};

// The points of a border in the order of its steps: all of them, or those where it turns.
class Path {
 public:
  explicit Path(bool keeps_all) : keeps_all_(keeps_all) { points_.reserve(1024); }

  void start(cv::Point at) {
    points_.clear();
    at_ = at;
    first_ = last_ = kNoDirection;
  }
  void go(Direction direction, int32_t steps) {
    if (steps <= 0) return;
    if (first_ == kNoDirection) first_ = direction;
    const auto [x, y] = kSteps[direction];
    if (keeps_all_) {
      for (int32_t i = 0; i < steps; ++i) points_.emplace_back(at_.x + i * x, at_.y + i * y);
    } else if (direction != last_) {
      points_.push_back(at_);
    }
    last_ = direction;
    at_ += {steps * x, steps * y};
  }
  cv::Point at() const { return at_; }
  // Back at the start, which counts only if the border turns there.
  Contour finish() const {
    if (first_ == kNoDirection) return {at_};  // a single pixel
    const bool drops_start = !keeps_all_ && first_ == last_;
    return {points_.begin() + (drops_start ? 1 : 0), points_.end()};
  }

 private:
  bool keeps_all_;
  cv::Point at_;
  int first_ = kNoDirection;
  int last_ = kNoDirection;
  Contour points_;
};

constexpr int32_t kFrame = 0;  // index of the border of the image; it counts as a hole

struct Border {
  bool is_hole = true;
  int32_t parent = kFrame;
  int32_t next = kNone;  // the sibling found before it
  int32_t previous = kNone;
  int32_t child = kNone;  // the last one found
  Contour points;
};

class Tracer {
 public:
  Tracer(const BitMask& mask, int approximation)
      : summits_(mask),
        borders_(1),
        border_of_(summits_.list().size(), kNone),
        path_(approximation == cv::CHAIN_APPROX_NONE) {}

  void find_borders();
  void hand_over(Contours& contours, Hierarchy& hierarchy);

 private:
  Border& border(int32_t index) { return borders_[static_cast<size_t>(index)]; }
  const Summit& summit(int32_t index) const { return summits_.list()[static_cast<size_t>(index)]; }
  int32_t& border_of(int32_t summit) { return border_of_[static_cast<size_t>(summit)]; }
  void add_border(int32_t first);
  void follow(int32_t first, int32_t border);
  void go_down(const Summit& from);
  void cross_bottom(const Flank& right);
  void go_up(const Flank& right);
  void cross_summit(const Flank& left);

  Summits summits_;
  std::vector<Border> borders_;
  std::vector<int32_t> border_of_;  // of each summit
  Path path_;
};

void Tracer::find_borders() {
  const auto count = static_cast<int32_t>(border_of_.size());
  for (int32_t i = 0; i < count; ++i) {
    if (border_of(i) == kNone) add_border(i);
  }
}

// Two neighbouring borders of one kind are siblings; otherwise the left one is the parent.
void Tracer::add_border(int32_t first) {
  const auto index = static_cast<int32_t>(borders_.size());
  const int32_t before = summit(first).before;
  const int32_t beside = before == kNone ? kFrame : border_of(before);
  Border& added = borders_.emplace_back();
  added.is_hole = !summit(first).of_shape;
  added.parent = border(beside).is_hole == added.is_hole ? border(beside).parent : beside;
  added.next = std::exchange(border(added.parent).child, index);
  if (added.next != kNone) border(added.next).previous = index;
  follow(first, index);
  added.points = path_.finish();
}

// An outer border begins with the left flank of its first summit, a hole with the right end of the
// run to the left of its first summit.
void Tracer::follow(int32_t first, int32_t border) {
  const bool is_hole = !summit(first).of_shape;
  const Stretch* top = summits_.stretches(is_hole ? summit(first).right : summit(first).left);
  path_.start({top->column, top->row});
  if (is_hole) cross_summit(summit(first).left);
  for (int32_t i = first;;) {
    border_of(i) = border;
    go_down(summit(i));
    i = summit(i).next;
    cross_bottom(summit(i).right);
    go_up(summit(i).right);
    if (i == first) break;
    cross_summit(summit(i).left);
  }
  if (!is_hole) cross_summit(summit(first).left);
}

void Tracer::go_down(const Summit& from) {
  const Stretch* const stretch = summits_.stretches(from.left);
  for (uint32_t i = 1; i < from.left.count; ++i) {
    path_.go(kDown, stretch[i].row - 1 - path_.at().y);
    const int32_t shift = stretch[i].column - stretch[i - 1].column;
    path_.go(kRight, shift - 1);
    path_.go(shift < 0 ? kDownLeft : kDownRight, 1);
    path_.go(kLeft, -shift - 1);
  }
  path_.go(kDown, from.last_row - path_.at().y);
}

void Tracer::go_up(const Flank& right) {
  const Stretch* const stretch = summits_.stretches(right);
  for (uint32_t i = right.count - 1; i > 0; --i) {
    path_.go(kUp, path_.at().y - stretch[i].row);
    const int32_t shift = stretch[i - 1].column - stretch[i].column;
    path_.go(kLeft, -shift - 1);
    path_.go(shift < 0 ? kUpLeft : kUpRight, 1);
    path_.go(kRight, shift - 1);
  }
  path_.go(kUp, path_.at().y - stretch->row);
}

// To the right flank: along the lower side of a run, or across the one below when that joins two.
void Tracer::cross_bottom(const Flank& right) {
  const int32_t shift = summits_.stretches(right)[right.count - 1].column - path_.at().x;
  path_.go(kRight, shift);
  if (shift >= 0) return;
  path_.go(kDownLeft, 1);
  path_.go(kLeft, -shift - 2);
  path_.go(kUpLeft, 1);
}

// To the left flank, the same upside down.
void Tracer::cross_summit(const Flank& left) {
  const int32_t shift = summits_.stretches(left)->column - path_.at().x;
  path_.go(kLeft, -shift);
  if (shift <= 0) return;
  path_.go(kUpRight, 1);
  path_.go(kRight, shift - 2);
  path_.go(kDownRight, 1);
}

// Parents before children, and of siblings the last one found first.
void Tracer::hand_over(Contours& contours, Hierarchy& hierarchy) {
  std::vector<int32_t> order;
  std::vector<int32_t> position(borders_.size(), kNoContour);
  for (int32_t i = border(kFrame).child; i > kFrame;) {
    position[static_cast<size_t>(i)] = static_cast<int32_t>(order.size());
    order.push_back(i);
    int32_t next = border(i).child;
    for (; next == kNone && i != kFrame; i = border(i).parent) next = border(i).next;
    i = next;
  }
  const auto position_of = [&](int32_t i) {
    return i == kNone ? kNoContour : position[static_cast<size_t>(i)];
  };
  contours.clear();
  hierarchy.clear();
  for (const int32_t i : order) {
    const Border& b = border(i);
    hierarchy.emplace_back(position_of(b.next), position_of(b.previous), position_of(b.child),
                           position_of(b.parent));
    contours.push_back(std::move(border(i).points));
  }
}

}  // namespace

void trace_contours(const BitMask& mask, int approximation, Contours& contours,
                    Hierarchy& hierarchy) {
  Tracer tracer(mask, approximation);
  tracer.find_borders();
  tracer.hand_over(contours, hierarchy);
}

}  // namespace kel
