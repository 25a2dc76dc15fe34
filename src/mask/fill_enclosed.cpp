#include "mask/fill_enclosed.h"

#include <algorithm>
#include <cstring>
#include <utility>
#include <vector>

namespace kel::mask {
namespace {

// Zeros of columns [begin, end) of one row.
struct Run {
  int32_t begin;
  int32_t end;
  int32_t parent;  // index of a run of the same area that was found before, or its own
};

// Index of the root of a run's area; halves the path to it.
int32_t find_root(std::vector<Run>& runs, int32_t index) {
  const auto at = [&runs](int32_t i) -> Run& { return runs[static_cast<size_t>(i)]; };
  while (at(index).parent != index) {
    at(index).parent = at(at(index).parent).parent;
    index = at(index).parent;
  }
  return index;
}

void join(std::vector<Run>& runs, int32_t a, int32_t b) {
  const auto [low, high] = std::minmax({find_root(runs, a), find_root(runs, b)});
  runs[static_cast<size_t>(high)].parent = low;
}

int32_t find_byte(const uint8_t* row, int32_t from, int32_t width, int value) {
  const void* found = std::memchr(row + from, value, static_cast<size_t>(width - from));
  if (found == nullptr) return width;
  return static_cast<int32_t>(static_cast<const uint8_t*>(found) - row);
}

// Appends a row's runs; those at the border belong to run 0, which stands for the outside.
void add_runs(std::vector<Run>& runs, const uint8_t* row, int32_t width, bool border_row) {
  for (int32_t x = find_byte(row, 0, width, 0); x < width; x = find_byte(row, x, width, 0)) {
    const int32_t end = find_byte(row, x, width, 255);
    const bool outside = border_row || x == 0 || end == width;
    runs.push_back({x, end, outside ? 0 : static_cast<int32_t>(runs.size())});
    x = end;
  }
}

// Joins the runs [above, here) of one row with those from here on of the next where they touch.
void join_rows(std::vector<Run>& runs, size_t above, size_t here) {
  for (size_t lower = here; above < here && lower < runs.size();) {
    if (runs[above].begin < runs[lower].end && runs[lower].begin < runs[above].end) {
      join(runs, static_cast<int32_t>(above), static_cast<int32_t>(lower));
    }
    runs[above].end < runs[lower].end ? ++above : ++lower;
  }
}

}  // namespace

void fill_enclosed(cv::Mat& image) {
  std::vector<Run> runs{{0, 0, 0}};
  std::vector<size_t> starts;  // first run of each row
  size_t above = 1;
  for (int32_t y = 0; y < image.rows; ++y) {
    const size_t here = runs.size();
    starts.push_back(here);
    add_runs(runs, image.ptr(y), image.cols, y == 0 || y == image.rows - 1);
    join_rows(runs, above, here);
    above = here;
  }
  starts.push_back(runs.size());
  for (int32_t y = 0; y < image.rows; ++y) {
    for (size_t i = starts[static_cast<size_t>(y)]; i < starts[static_cast<size_t>(y) + 1]; ++i) {
      if (find_root(runs, static_cast<int32_t>(i)) == 0) continue;
      std::memset(image.ptr(y, runs[i].begin), 255,
                  static_cast<size_t>(runs[i].end - runs[i].begin));
    }
  }
}

}  // namespace kel::mask
