#include "mask/get_mask_roi.h"

#include <algorithm>

namespace kel::mask {
namespace {

// Bytes whose maximum is tested before single bytes are; compilers vectorise the maximum.
constexpr int32_t kBlock = 64;

bool block_reaches(const uint8_t* pixels, uint32_t level) {
  uint8_t highest = 0;
  for (int32_t i = 0; i < kBlock; ++i) highest = std::max(highest, pixels[i]);
  return highest >= level;
}

// First column of [from, to) whose pixel is >= level, or to.
int32_t find_first(const uint8_t* row, int32_t from, int32_t to, uint32_t level) {
  while (to - from >= kBlock && !block_reaches(row + from, level)) from += kBlock;
  while (from < to && row[from] < level) ++from;
  return from;
}

// Last column of [from, to) whose pixel is >= level, or from - 1.
int32_t find_last(const uint8_t* row, int32_t from, int32_t to, uint32_t level) {
  while (to - from >= kBlock && !block_reaches(row + to - kBlock, level)) to -= kBlock;
  while (from < to && row[to - 1] < level) --to;
  return to - 1;
}

}  // namespace

// Rows are searched from both ends; in the rows between, only the columns outside the box found so
// far are read.
uint32_t get_mask_roi(const KelPixelRegion& image, MKRect& rect, uint32_t level) {
  const imageprocess::PixelRegion_<QX_FMT_GRAY> view(image);
  const int32_t width = image.width;
  const int32_t height = image.height;
  rect = {};
  if (width < 1) return MVK_NOT_FOUND;

  int32_t top = 0;
  int32_t left = 0;
  for (; top < height; ++top) {
    left = find_first(view.plane.row(top), 0, width, level);
    if (left < width) break;
  }
  if (top >= height) return MVK_NOT_FOUND;

  int32_t right = find_last(view.plane.row(top), left, width, level);
  int32_t bottom = height - 1;
  while (bottom > top && find_first(view.plane.row(bottom), 0, width, level) == width) --bottom;
  for (int32_t y = top + 1; y <= bottom; ++y) {
    left = find_first(view.plane.row(y), 0, left, level);
    right = find_last(view.plane.row(y), right + 1, width, level);
  }
  rect = {static_cast<uint32_t>(left), static_cast<uint32_t>(top), static_cast<uint32_t>(right),
          static_cast<uint32_t>(bottom)};
  return MVK_OK;
}

}  // namespace kel::mask
