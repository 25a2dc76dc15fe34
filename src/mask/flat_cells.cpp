#include "mask/flat_cells.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <vector>

#include "core/row_bands.h"

namespace kel::mask {
namespace {

constexpr int32_t kSide = 16;   // pixels of a cell's sides
constexpr int16_t kMixed = -1;  // instead of a cell's value

int32_t cells_of(int32_t pixels) { return (pixels + kSide - 1) / kSide; }

// The value of all pixels of a cell, or kMixed. Whole cells are compared eight pixels at a time.
int16_t value_of(const uint8_t* cell, size_t pitch, int32_t width, int32_t height) {
  const uint64_t value = *cell;
  const uint64_t eight = value * 0x0101010101010101;
  uint64_t differences = 0;
  for (int32_t y = 0; y < height && differences == 0; ++y, cell += pitch) {
    if (width == kSide) {
      std::array<uint64_t, 2> pixels{};
      std::memcpy(pixels.data(), cell, sizeof pixels);
      differences = (pixels[0] ^ eight) | (pixels[1] ^ eight);
    } else {
      for (int32_t x = 0; x < width; ++x) differences |= cell[x] ^ value;
    }
  }
  return differences == 0 ? static_cast<int16_t>(value) : kMixed;
}

// Replaces each of `count` values by kMixed unless all within `reach` of it are the same.
void keep_same(int16_t* values, int64_t step, int32_t count, int32_t reach) {
  int32_t same = 0;  // how many before and including the last, from the start like those outside
  std::vector<int16_t> kept(static_cast<size_t>(count), kMixed);
  for (int32_t i = 0; i < count; ++i) {
    const int16_t value = values[i * step];
    same = i > 0 && value == values[(i - 1) * step] ? same + 1 : 1;
    const bool from_start = same == i + 1;
    const int32_t centre = i - reach;
    if (centre >= 0 && (from_start || same > 2 * reach)) kept[static_cast<size_t>(centre)] = value;
    for (int32_t j = std::max(centre + 1, 0); i == count - 1 && j < count; ++j) {
      if (from_start || same > count - 1 - j + reach) kept[static_cast<size_t>(j)] = value;
    }
  }
  for (int32_t i = 0; i < count; ++i) values[i * step] = kept[static_cast<size_t>(i)];
}

class Cells {
 public:
  Cells(const cv::Mat& src, int32_t radius)
      : src_(src),
        reach_(cells_of(radius)),
        across_(cells_of(src.cols)),
        down_(cells_of(src.rows)),
        values_(static_cast<size_t>(across_) * static_cast<size_t>(down_)) {
    for (int32_t y = 0; y < down_; ++y) {
      const int32_t height = std::min(kSide, src.rows - y * kSide);
      for (int32_t x = 0; x < across_; ++x) {
        const int32_t width = std::min(kSide, src.cols - x * kSide);
        row(y)[x] = value_of(src.ptr(y * kSide, x * kSide), src.step[0], width, height);
      }
      keep_same(row(y), 1, across_, reach_);
    }
    for (int32_t x = 0; x < across_; ++x) keep_same(row(0) + x, across_, down_, reach_);
  }

  // Rows of cells that are worth taking together, since what is above and below is read, too.
  int32_t height() const { return std::max(2 * reach_, 2); }
  int32_t down() const { return down_; }
  // So many that taking them alone would cost more than it saves.
  bool mostly_open() const {
    const auto open = std::count(values_.begin(), values_.end(), kMixed);
    return 2 * static_cast<size_t>(open) > values_.size();
  }

  void fill_and_filter(cv::Mat& dst, int32_t first, int32_t end,
                       const std::function<void(const cv::Rect&)>& filter) {
    cv::Rect open(0, first * kSide, 0, std::min(end * kSide, src_.rows) - first * kSide);
    int32_t flat = 0;  // column of cells from which on all are flat
    for (int32_t x = 0; x < across_; ++x) {
      if (is_flat(x, first, end)) continue;
      if (open.width > 0 && x - flat > 2 * reach_) {
        filter(open);
        open.width = 0;
      }
      for (int32_t y = first; y < end; ++y) fill(dst, y, flat, x);
      if (open.width == 0) open.x = x * kSide;
      open.width = std::min((x + 1) * kSide, src_.cols) - open.x;
      flat = x + 1;
    }
    for (int32_t y = first; y < end; ++y) fill(dst, y, flat, across_);
    if (open.width > 0) filter(open);
  }

 private:
  int16_t* row(int32_t y) { return values_.data() + int64_t{y} * across_; }

  bool is_flat(int32_t x, int32_t first, int32_t end) {
    for (int32_t y = first; y < end; ++y) {
      if (row(y)[x] == kMixed) return false;
    }
    return true;
  }

  // Cells [from, to) of a row of cells, all of them flat.
  void fill(cv::Mat& dst, int32_t y, int32_t from, int32_t to) {
    while (from < to) {
      const int16_t value = row(y)[from];
      const int32_t left = from * kSide;
      while (from < to && row(y)[from] == value) ++from;
      const auto width = static_cast<size_t>(std::min(from * kSide, src_.cols) - left);
      for (int32_t i = y * kSide; i < std::min((y + 1) * kSide, src_.rows); ++i) {
        std::memset(dst.ptr(i, left), value, width);
      }
    }
  }

  const cv::Mat& src_;
  const int32_t reach_;
  const int32_t across_;
  const int32_t down_;
  std::vector<int16_t> values_;
};

}  // namespace

bool looks_like_mask(const cv::Mat& image) {
  int64_t extremes = 0;
  int64_t rows = 0;
  for (int32_t y = 0; y < image.rows; y += 8, ++rows) {
    const uint8_t* row = image.ptr(y);
    int32_t found = 0;
    for (int32_t x = 0; x < image.cols; ++x) found += static_cast<uint8_t>(row[x] + 1) <= 1 ? 1 : 0;
    extremes += found;
  }
  return 4 * extremes >= rows * image.cols;
}

void for_each_open_area(const cv::Mat& src, cv::Mat& dst, int32_t radius,
                        const std::function<void(const cv::Rect&)>& filter) {
  Cells cells(src, radius);
  if (cells.mostly_open()) {
    return for_each_band(src, 4 * radius, [&](const cv::Range& band) {
      filter({0, band.start, src.cols, band.size()});
    });
  }
  for_each_band(src, 2 * radius, [&](const cv::Range& band) {
    // Bands of rows become bands of cells.
    const int32_t last = band.end == src.rows ? cells.down() : band.end / kSide;
    for (int32_t y = band.start / kSide; y < last; y += cells.height()) {
      cells.fill_and_filter(dst, y, std::min(y + cells.height(), last), filter);
    }
  });
}

}  // namespace kel::mask
