// Colours along the edge of a sticker, in the tool as on web pages.
#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace tool {

// Mean colour of the fully covered pixels around a pixel. Sums of columns follow the rows downwards
// where they are asked for, so that a pixel costs one step across the window only.
class InnerColors {
 public:
  // A photograph of 3 or 4 bytes a pixel and its mask, rows packed, which must outlive this.
  InnerColors(const uint8_t* photo, int pixel_bytes, const uint8_t* covered, int width, int height,
              int radius)
      : photo_(photo),
        pixel_bytes_(pixel_bytes),
        covered_(covered),
        width_(width),
        height_(height),
        radius_(radius),
        columns_(static_cast<size_t>(width)) {}

  // Rows are asked for in order. The pixel's own colour when no covered one is near.
  std::array<uint8_t, 3> color_at(int x, int y) {
    Sums sums{};
    const int end = std::min(width_, x + radius_ + 1);
    for (int i = std::max(0, x - radius_); i < end; ++i) {
      const Sums& column = column_at(i, y);
      for (size_t c = 0; c < sums.size(); ++c) sums[c] += column[c];
    }
    std::array<uint8_t, 3> color{};
    const uint8_t* own = pixel(x, y);
    for (size_t c = 0; c < color.size(); ++c) {
      color[c] = sums[3] == 0 ? own[c] : static_cast<uint8_t>((sums[c] + sums[3] / 2) / sums[3]);
    }
    return color;
  }

 private:
  using Sums = std::array<int32_t, 4>;  // three colours and the number of pixels

  struct Column {
    Sums sums{};
    int begin = 0;  // rows that the sums hold
    int end = 0;
  };

  const Sums& column_at(int x, int y) {
    Column& column = columns_[static_cast<size_t>(x)];
    const int begin = std::max(0, y - radius_);
    if (column.end <= begin) column = {{}, begin, begin};
    for (; column.begin < begin; ++column.begin) add(column.sums, x, column.begin, -1);
    const int end = std::min(height_, y + radius_ + 1);
    for (; column.end < end; ++column.end) add(column.sums, x, column.end, 1);
    return column.sums;
  }

  void add(Sums& sums, int x, int y, int32_t sign) const {
    if (covered_[ptrdiff_t{y} * width_ + x] != 255) return;
    for (size_t c = 0; c < 3; ++c) sums[c] += sign * pixel(x, y)[c];
    sums[3] += sign;
  }

  const uint8_t* pixel(int x, int y) const {
    return photo_ + (ptrdiff_t{y} * width_ + x) * pixel_bytes_;
  }

  const uint8_t* photo_;
  int pixel_bytes_;
  const uint8_t* covered_;
  int width_;
  int height_;
  int radius_;
  std::vector<Column> columns_;
};

// share: of inner, in 255ths.
inline uint8_t mixed(unsigned inner, unsigned outer, unsigned share) {
  return static_cast<uint8_t>((inner * share + outer * (255 - share) + 127) / 255);
}

}  // namespace tool
