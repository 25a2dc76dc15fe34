#include "core/contours/summits.h"

#include <algorithm>
#include <limits>
#include <new>

namespace kel {

// Where a row is as the one above every flank goes on.
Summits::Summits(const BitMask& mask) {
  constexpr size_t kUsual = 256;
  stretches_.reserve(4 * kUsual);
  summits_.reserve(kUsual / 4);
  for (std::vector<Run>* const runs : {&above_, &here_}) runs->reserve(kUsual / 4);
  for (int y = 0; y < mask.height(); ++y) {
    if (y > 0 && std::equal(mask.row(y), mask.row(y) + mask.row_words(), mask.row(y - 1))) continue;
    here_.clear();
    mask.for_each_run(
        y, [&](int32_t begin, int32_t end) { here_.push_back({begin, end, kNone, kNone}); });
    link_rows(y);
    above_.swap(here_);
  }
  here_.clear();
  link_rows(mask.height());
}

// Runs of two rows touch when a pixel of one is among the eight neighbours of a pixel of the other.
void Summits::link_rows(int32_t y) {
  size_t above = 0;
  size_t here = 0;
  while (above < above_.size() || here < here_.size()) {
    if (here == here_.size() || (above < above_.size() && above_[above].end < here_[here].begin)) {
      meet(above_[above], above_[above], y - 1);
      ++above;
    } else if (above == above_.size() || here_[here].end < above_[above].begin) {
      Run& run = here_[here];
      const int32_t before = here == 0 ? kNone : here_[here - 1].right;
      run.left = run.right = add_summit(run.begin, run.end - 1, y, true, before);
      ++here;
    } else {
      link_group(above, here, y);
    }
  }
}

// A chain of runs that touch, from left to right: its outermost ends go on; between runs above the
// background ends, between runs here it begins.
void Summits::link_group(size_t& above, size_t& here, int32_t y) {
  const auto link_left = [&] {
    Run& run = here_[here];
    run.left = above_[above].left;
    if (run.begin != above_[above].begin) {
      bend(summits_[static_cast<size_t>(run.left)].left, run.begin, y);
    }
  };
  link_left();
  for (;;) {
    Run& run = here_[here];
    if (above + 1 < above_.size() && above_[above + 1].begin <= run.end) {
      meet(above_[above + 1], above_[above], y - 1);
      ++above;
    } else if (here + 1 < here_.size() && here_[here + 1].begin <= above_[above].end) {
      Run& next = here_[here + 1];
      next.left = run.right = add_summit(next.begin, run.end - 1, y, false, run.left);
      ++here;
    } else {
      run.right = above_[above].right;
      if (run.end != above_[above].end) {
        bend(summits_[static_cast<size_t>(run.right)].right, run.end - 1, y);
      }
      break;
    }
  }
  ++above;
  ++here;
}

int32_t Summits::add_summit(int32_t left_column, int32_t right_column, int32_t y, bool of_shape,
                            int32_t before) {
  constexpr size_t kMost = std::numeric_limits<int32_t>::max() - 1;
  if (summits_.size() >= kMost || stretches_.size() >= kMost) throw std::bad_alloc();
  const auto first = static_cast<uint32_t>(stretches_.size());
  stretches_.push_back({left_column, y});
  stretches_.push_back({right_column, y});
  summits_.push_back({{first, 1}, {first + 1, 1}, y, kNone, before, of_shape});
  return static_cast<int32_t>(summits_.size()) - 1;
}

// The left end of one run and the right end of another, or of the same, are the last of their
// flanks.
void Summits::meet(const Run& left, const Run& right, int32_t y) {
  Summit& summit = summits_[static_cast<size_t>(left.left)];
  summit.last_row = y;
  summit.next = right.right;
}

// A flank goes on in another column. Its stretches move when they have filled a power of two.
void Summits::bend(Flank& flank, int32_t column, int32_t y) {
  if ((flank.count & (flank.count - 1)) == 0) {
    const size_t to = stretches_.size();
    if (to + 2 * size_t{flank.count} > std::numeric_limits<uint32_t>::max()) throw std::bad_alloc();
    stretches_.resize(to + 2 * size_t{flank.count});
    std::copy_n(stretches_.data() + flank.stretches, flank.count, stretches_.data() + to);
    flank.stretches = static_cast<uint32_t>(to);
  }
  stretches_[flank.stretches + flank.count] = {column, y};
  ++flank.count;
}

}  // namespace kel
