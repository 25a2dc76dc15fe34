#include "mask/enlarge.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <iterator>
#include <vector>

#include "core/resample/axis.h"
#include "core/resize.h"
#include "mask/row_bands.h"

namespace kel::mask {
namespace {

using Changes = std::vector<int32_t>;  // columns whose right neighbour differs

// A column of the result lies between two of the source.
struct Between {
  int32_t left;
  int32_t right;
  int32_t left_weight;
  int32_t right_weight;

  int32_t across(const uint8_t* row) const {
    return (row[left] * left_weight + row[right] * right_weight) >> 4;
  }
};

struct Columns {
  std::vector<Between> between;
  std::vector<int32_t> starts;  // first column of the result that is right of a source column
  // Columns of the source behind which weights do not add up to 2048: there even flat rows have a
  // value of their own when they are mixed with others.
  Changes uneven;

  explicit Columns(const imgproc::Axis& axis) {
    const auto last = static_cast<int32_t>(axis.src) - 1;
    for (int64_t x = 0; x < axis.dst; ++x) {
      imgproc::Place place = imgproc::centred_place(axis, x);
      if (place.first < 0) place = {0, 0};
      if (place.first >= last) place = {last, 0};
      const auto [left, right] = imgproc::linear_weights(place.fraction);
      const auto first = static_cast<int32_t>(place.first);
      between.push_back({first, std::min(first + 1, last), left, right});
      while (static_cast<int32_t>(starts.size()) <= first) {
        starts.push_back(static_cast<int32_t>(x));
      }
      const bool is_even = left + right == 1 << imgproc::kWeightBits;
      if (!is_even && (uneven.empty() || uneven.back() != first)) uneven.push_back(first);
    }
    starts.resize(static_cast<size_t>(last) + 2, static_cast<int32_t>(axis.dst));
  }
};

// Differences between eight bytes and those one further on, the first in the lowest bits.
uint64_t differences(const uint8_t* row) {
  uint64_t bytes = 0;
  uint64_t next = 0;
  for (int i = 0; i < 8; ++i) bytes |= uint64_t{row[i]} << (8 * i);
  for (int i = 0; i < 8; ++i) next |= uint64_t{row[i + 1]} << (8 * i);
  return bytes ^ next;
}

void find_changes(const cv::Mat& src, int32_t y, Changes& changes) {
  constexpr int32_t kWords = 8;
  const uint8_t* row = src.ptr(y);
  const int32_t end = src.cols - 1;
  changes.clear();
  int32_t x = 0;
  for (; x + 8 * kWords <= end; x += 8 * kWords) {
    uint64_t words[kWords];
    uint64_t any = 0;
    for (int32_t i = 0; i < kWords; ++i) any |= words[i] = differences(row + x + 8 * i);
    for (int32_t i = 0; any != 0 && i < kWords; ++i) {
      for (uint64_t left = words[i]; left != 0;) {
        const int bit = std::countr_zero(left) & ~7;
        changes.push_back(x + 8 * i + bit / 8);
        left &= ~(uint64_t{255} << bit);
      }
    }
  }
  for (; x < end; ++x) {
    if (row[x] != row[x + 1]) changes.push_back(x);
  }
}

// Columns of the result that have one value, and that value in the two source rows they lie
// between, scaled across.
struct Span {
  int32_t end;
  int32_t upper;
  int32_t lower;
};

class Rows {
 public:
  Rows(cv::Mat& dst, const cv::Mat& src, const Columns& columns, const imgproc::Axis& axis)
      : dst_(dst), src_(src), columns_(columns), axis_(axis) {}

  void run(const cv::Range& rows) {
    for (int32_t y = rows.start; y < rows.end; ++y) {
      const imgproc::Place place = imgproc::centred_place(axis_, y);
      const auto inside = [&](int64_t row) {
        return static_cast<int32_t>(std::clamp<int64_t>(row, 0, src_.rows - 1));
      };
      take(inside(place.first), inside(place.first + 1));
      const auto [upper, lower] = imgproc::linear_weights(place.fraction);
      fill(dst_.ptr(y), upper, lower);
    }
  }

 private:
  // Makes the spans between two source rows, unless they are there.
  void take(int32_t upper, int32_t lower) {
    if (upper == upper_ && lower == lower_) return;
    if (upper == lower_) {
      changes_[0].swap(changes_[1]);
    } else {
      find_changes(src_, upper, changes_[0]);
    }
    find_changes(src_, lower, changes_[1]);
    upper_ = upper;
    lower_ = lower;
    merge(changes_[0], changes_[1], both_);
    merge(both_, columns_.uneven, all_);
    make_spans(src_.ptr(upper), src_.ptr(lower));
  }

  static void merge(const Changes& a, const Changes& b, Changes& to) {
    to.clear();
    std::set_union(a.begin(), a.end(), b.begin(), b.end(), std::back_inserter(to));
  }

  void make_spans(const uint8_t* upper, const uint8_t* lower) {
    const auto start = [&](int32_t column) { return columns_.starts[static_cast<size_t>(column)]; };
    int32_t x = 0;
    spans_.clear();
    const auto add_flat = [&](int32_t end, int32_t column) {
      if (end > x) spans_.push_back({end, upper[column] * 128, lower[column] * 128});
      x = std::max(x, end);
    };
    for (const int32_t column : all_) {
      add_flat(start(column), column);
      for (; x < start(column + 1); ++x) {
        const Between& between = columns_.between[static_cast<size_t>(x)];
        spans_.push_back({x + 1, between.across(upper), between.across(lower)});
      }
    }
    add_flat(dst_.cols, src_.cols - 1);
  }

  void fill(uint8_t* to, int32_t upper_weight, int32_t lower_weight) const {
    int32_t x = 0;
    for (const Span& span : spans_) {
      const int32_t sum = (span.upper * upper_weight >> 16) + (span.lower * lower_weight >> 16);
      const auto value = static_cast<uint8_t>((sum + 2) >> 2);
      to[x++] = value;
      if (x == span.end) continue;
      std::memset(to + x, value, static_cast<size_t>(span.end - x));
      x = span.end;
    }
  }

  cv::Mat& dst_;
  const cv::Mat& src_;
  const Columns& columns_;
  const imgproc::Axis& axis_;
  int32_t upper_ = -1;
  int32_t lower_ = -1;
  Changes changes_[2];
  Changes both_;
  Changes all_;
  std::vector<Span> spans_;
};

// Whether flat areas are what an image consists of, from some of its rows.
bool is_mostly_flat(const cv::Mat& image) {
  constexpr int32_t kStep = 8;
  constexpr size_t kFew = 16;  // pixels to a change
  size_t found = 0;
  Changes changes;
  for (int32_t y = 0; y < image.rows; y += kStep) {
    find_changes(image, y, changes);
    found += changes.size();
  }
  return found * kStep * kFew <= image.total();
}

}  // namespace

void enlarge(cv::Mat& dst, const cv::Mat& src) {
  if (dst.cols <= src.cols || dst.rows <= src.rows || !is_mostly_flat(src)) {
    return imgproc::resize_plane(dst, src, imageprocess::InterpolationMethod::kLinear);
  }
  const Columns columns(imgproc::Axis(src.cols, dst.cols));
  const imgproc::Axis down(src.rows, dst.rows);
  for_each_band(dst, 16, [&](const cv::Range& rows) { Rows(dst, src, columns, down).run(rows); });
}

}  // namespace kel::mask
