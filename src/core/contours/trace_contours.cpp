#include "core/contours/trace_contours.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <opencv2/imgproc.hpp>
#include <unordered_map>
#include <utility>

namespace kel {
namespace {

// Directions are counted anticlockwise, as seen, from the right.
constexpr int kDirections = 8;
constexpr int kRight = 0;
constexpr int kLeft = 4;
struct Step {
  int x;
  int y;
};
constexpr std::array<Step, kDirections> kSteps{
    {{1, 0}, {1, -1}, {0, -1}, {-1, -1}, {-1, 0}, {-1, 1}, {0, 1}, {1, 1}}};

constexpr int background_side(bool is_hole) { return is_hole ? kRight : kLeft; }
constexpr int turned(int direction, int by) { return (direction + by) & (kDirections - 1); }

// A border pixel holds the label of the last border that marked it, and kRightEdge when the border
// has background to the right of it. Labels are used again, from kFirstReused on, as
// cv::findContours does it: which of several borders with one label becomes the parent depends on
// that.
constexpr uint8_t kRightEdge = 0x80;
constexpr uint8_t kLabel = 0x7F;
constexpr uint8_t kFirstLabel = 2;
constexpr uint8_t kFirstReused = 3;

bool is_mark(uint8_t pixel) { return pixel > kShape; }

constexpr int32_t kNone = -1;
constexpr int32_t kFrame = 0;  // index of the border of the image; it counts as a hole

struct Box {
  int left;
  int top;
  int right;  // the last column, and row
  int bottom;

  explicit Box(cv::Point point) : left(point.x), top(point.y), right(point.x), bottom(point.y) {}
  void include(cv::Point point) {
    left = std::min(left, point.x);
    top = std::min(top, point.y);
    right = std::max(right, point.x);
    bottom = std::max(bottom, point.y);
  }
  bool contains(cv::Point point) const {
    return point.x >= left && point.x <= right && point.y >= top && point.y <= bottom;
  }
};

struct Border {
  bool is_hole = true;
  cv::Point start;
  Box box{start};
  Contour points;
  int32_t parent = kFrame;
  int32_t next = kNone;  // the sibling found before it
  int32_t previous = kNone;
  int32_t child = kNone;       // the last one found
  int32_t same_label = kNone;  // the border that had its label before
};

// The first column from x on that differs from `value`, or `width`.
int find_change(const uint8_t* row, int x, int width, uint8_t value) {
  if (x < width && row[x] != value) return x;
  constexpr int kBytes = sizeof(uint64_t);
  uint64_t expected = 0;
  std::memset(&expected, value, kBytes);
  for (; x + kBytes <= width; x += kBytes) {
    uint64_t found = 0;
    std::memcpy(&found, row + x, kBytes);
    if (found != expected) break;
  }
  while (x < width && row[x] == value) ++x;
  return x;
}

class Tracer {
 public:
  Tracer(cv::Mat& image, int approximation)
      : image_(image), keeps_all_(approximation == cv::CHAIN_APPROX_NONE), borders_(1) {
    newest_.fill(kNone);
    for (size_t i = 0; i < kSteps.size(); ++i) {
      offsets_[i] = kSteps[i].y * static_cast<ptrdiff_t>(image.step[0]) + kSteps[i].x;
    }
  }

  void find_borders() {
    for (int y = 0; y < image_.rows; ++y) scan_row(y);
  }
  void take_marks_away();
  void hand_over(Contours& contours, Hierarchy& hierarchy);

 private:
  uint8_t* pixel(cv::Point at) { return image_.ptr(at.y) + at.x; }
  Border& border(int32_t index) { return borders_[static_cast<size_t>(index)]; }
  uint8_t* neighbour(uint8_t* at, int direction) const {
    return &at[offsets_[static_cast<size_t>(direction)]];
  }

  void scan_row(int y);
  void add_border(cv::Point start, bool is_hole, int32_t parent);
  int32_t find_parent(cv::Point mark, bool is_hole);
  bool passes(int32_t index, const uint8_t* mark);
  void visit_all(const Border& followed, std::vector<ptrdiff_t>& visits);
  struct Move {
    uint8_t* to;
    bool passes_right;
  };
  int find_last_neighbour(uint8_t* start, bool is_hole) const;
  Move find_next(uint8_t* at, int& direction) const;
  void follow(Border& followed);

  cv::Mat& image_;
  bool keeps_all_;
  std::array<ptrdiff_t, kDirections> offsets_{};
  std::vector<Border> borders_;
  std::array<int32_t, kLabel + 1> newest_{};  // border of each label
  uint8_t label_ = kFirstLabel;
  Contour points_;                                              // of the border that is followed
  size_t steps_ = 0;                                            // along all borders
  std::unordered_map<int32_t, std::vector<ptrdiff_t>> visits_;  // of borders asked for
};

// A border begins where background turns into unmarked shape, or shape without a mark for its right
// edge into background. `mark` is the last marked column: its border tells where the row is.
void Tracer::scan_row(int y) {
  const uint8_t* row = image_.ptr(y);
  uint8_t previous = 0;
  int mark = kNone;
  for (int x = 0; (x = find_change(row, x, image_.cols, previous)) < image_.cols; ++x) {
    const bool is_outer = previous == 0 && row[x] == kShape;
    const bool is_hole = row[x] == 0 && (previous & kRightEdge) == 0;
    if (is_hole && is_mark(previous)) mark = x - 1;
    if (is_outer || is_hole) {
      const int32_t parent = mark < 0 ? kFrame : find_parent({mark, y}, is_hole);
      mark = is_hole ? x - 1 : x;
      add_border({mark, y}, is_hole, parent);
    } else if (is_mark(row[x])) {
      mark = x;
    }
    previous = row[x];
  }
}

void Tracer::add_border(cv::Point start, bool is_hole, int32_t parent) {
  const auto index = static_cast<int32_t>(borders_.size());
  Border& added = borders_.emplace_back();
  added.is_hole = is_hole;
  added.start = start;
  added.parent = parent;
  added.next = std::exchange(border(parent).child, index);
  if (added.next != kNone) border(added.next).previous = index;
  added.same_label = std::exchange(newest_[label_], index);
  follow(added);
  label_ = label_ == kLabel ? kFirstReused : static_cast<uint8_t>(label_ + 1);
}

// The border that surrounds what begins behind `mark`. If labels collide, take the border that
// passes the mark. Borders that end above this row cannot and are dropped from the chain.
int32_t Tracer::find_parent(cv::Point mark, bool is_hole) {
  const uint8_t* const marked = pixel(mark);
  int32_t found = kFrame;
  for (int32_t* link = &newest_[*marked & kLabel]; *link != kNone;) {
    Border& candidate = border(*link);
    if (candidate.box.bottom < mark.y) {
      *link = candidate.same_label;
      continue;
    }
    if (candidate.box.contains(mark)) {
      if (found != kFrame && passes(found, marked)) break;
      found = *link;
    }
    link = &candidate.same_label;
  }
  // An outer border follows an outer border, or a hole a hole: they are siblings.
  return border(found).is_hole == is_hole ? border(found).parent : found;
}

// The direction of the first neighbour met when the start is circled clockwise from the background
// side; that side itself when there is none.
int Tracer::find_last_neighbour(uint8_t* start, bool is_hole) const {
  const int background = background_side(is_hole);
  int direction = background;
  do {
    direction = turned(direction, -1);
  } while (*neighbour(start, direction) == 0 && direction != background);
  return direction;
}

// The next pixel of a border, circling anticlockwise from `direction`, to which that is turned, and
// whether the right-hand neighbour was seen to be background on the way.
Tracer::Move Tracer::find_next(uint8_t* at, int& direction) const {
  for (int steps = 1;; ++steps) {
    const int towards = turned(direction, steps);
    uint8_t* const next = neighbour(at, towards);
    if (*next == 0) continue;
    const bool passes_right = direction + steps > kDirections;
    direction = towards;
    return {next, passes_right};
  }
}

// Whether following the border meets `mark` on the side where it was marked. Long borders are asked
// for many pixels: where they run is found out once.
bool Tracer::passes(int32_t index, const uint8_t* mark) {
  std::vector<ptrdiff_t>& visits = visits_[index];
  if (visits.empty()) visit_all(border(index), visits);
  const ptrdiff_t at = mark - image_.data;
  const ptrdiff_t passing_right = 2 * at + 1;
  const bool is_right_edge = (*mark & kRightEdge) != 0;
  const ptrdiff_t least = is_right_edge ? passing_right : 2 * at;
  const auto found = std::lower_bound(visits.begin(), visits.end(), least);
  return found != visits.end() && *found <= passing_right;
}

// Collects twice the offset of each pixel along a border, plus one where the border passes the
// right-hand neighbour; sorted.
void Tracer::visit_all(const Border& followed, std::vector<ptrdiff_t>& visits) {
  uint8_t* const start = pixel(followed.start);
  int direction = find_last_neighbour(start, followed.is_hole);
  if (direction == background_side(followed.is_hole)) {
    visits.push_back(2 * (start - image_.data) + 1);
    return;
  }
  const uint8_t* const last = neighbour(start, direction);
  for (uint8_t* at = start;;) {
    const auto [next, passes_right] = find_next(at, direction);
    visits.push_back(2 * (at - image_.data) + (passes_right ? 1 : 0));
    if (next == start && at == last) break;
    at = next;
    direction = turned(direction, kLeft);
  }
  std::sort(visits.begin(), visits.end());
}

// Follows a border anticlockwise around shape, marks its pixels and stores its points.
void Tracer::follow(Border& followed) {
  points_.clear();
  cv::Point point = followed.start;
  followed.box = Box(point);
  uint8_t* const start = pixel(point);
  int direction = find_last_neighbour(start, followed.is_hole);
  if (direction == background_side(followed.is_hole)) {  // a single pixel
    *start = label_ | kRightEdge;
    points_.push_back(point);
  } else {
    const uint8_t* const last = neighbour(start, direction);
    int arrived = turned(direction, kLeft);
    for (uint8_t* at = start;;) {
      const auto [next, passes_right] = find_next(at, direction);
      if (passes_right) {
        *at = label_ | kRightEdge;
      } else if (*at == kShape) {
        *at = label_;
      }
      ++steps_;
      const bool is_corner = direction != arrived;
      if (is_corner) followed.box.include(point);
      if (is_corner || keeps_all_) points_.push_back(point);
      arrived = direction;
      const Step step = kSteps[static_cast<size_t>(direction)];
      point += {step.x, step.y};
      if (next == start && at == last) break;
      at = next;
      direction = turned(direction, kLeft);
    }
  }
  followed.points = points_;
}

// All marks lie on borders: between two points of one they lie on a straight line. To go along them
// once more is cheap unless they are long: then all pixels are visited, many at a time.
void Tracer::take_marks_away() {
  constexpr size_t kPixelsPerStep = 16;  // that many in vectors cost about one step
  if (steps_ > image_.total() / kPixelsPerStep) {
    for (int y = 0; y < image_.rows; ++y) {
      uint8_t* row = image_.ptr(y);
      for (int x = 0; x < image_.cols; ++x) row[x] = row[x] != 0 ? kShape : 0;
    }
    return;
  }
  const auto sign = [](int from, int to) { return (to > from) - (to < from); };
  for (size_t i = 1; i < borders_.size(); ++i) {
    cv::Point at = borders_[i].points.back();
    *pixel(at) = kShape;
    for (const cv::Point to : borders_[i].points) {
      for (; at != to; *pixel(at) = kShape) at += {sign(at.x, to.x), sign(at.y, to.y)};
    }
  }
}

// Parents before children, and of siblings the last one found first.
void Tracer::hand_over(Contours& contours, Hierarchy& hierarchy) {
  std::vector<int32_t> order;
  std::vector<int32_t> position(borders_.size(), kNone);
  for (int32_t i = border(kFrame).child; i > kFrame;) {
    position[static_cast<size_t>(i)] = static_cast<int32_t>(order.size());
    order.push_back(i);
    int32_t next = border(i).child;
    for (; next == kNone && i != kFrame; i = border(i).parent) next = border(i).next;
    i = next;
  }
  const auto position_of = [&](int32_t i) {
    return i == kNone ? kNone : position[static_cast<size_t>(i)];
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

cv::Mat make_framed_image(cv::Size size) {
  cv::Mat framed(size.height + 2, size.width + 2, CV_8UC1);
  framed.row(0).setTo(0);
  framed.row(framed.rows - 1).setTo(0);
  for (int y = 0; y < framed.rows; ++y) framed.ptr(y)[0] = framed.ptr(y)[framed.cols - 1] = 0;
  return framed(cv::Rect({1, 1}, size));
}

cv::Mat frame_shapes(const cv::Mat& gray, uint8_t level) {
  cv::Mat shapes = make_framed_image(gray.size());
  for (int y = 0; y < gray.rows; ++y) {
    const uint8_t* from = gray.ptr(y);
    uint8_t* to = shapes.ptr(y);
    for (int x = 0; x < gray.cols; ++x) to[x] = from[x] > level ? kShape : 0;
  }
  return shapes;
}

void trace_contours(cv::Mat& image, int approximation, Contours& contours, Hierarchy& hierarchy) {
  Tracer tracer(image, approximation);
  tracer.find_borders();
  tracer.take_marks_away();
  tracer.hand_over(contours, hierarchy);
}

}  // namespace kel
