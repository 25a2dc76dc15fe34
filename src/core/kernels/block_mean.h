// Scaling down by whole factors: each pixel is the mean of a block of pixels.
#pragma once

#include <cstdint>

#include "core/kernels/byte_gather.h"

namespace kel::imgproc {

struct Blocks {
  int channels = 1;
  int64_t width = 1;   // pixels of the source for one of the result
  int64_t height = 1;  // rows
  int64_t first = 0;   // pixel of the result

  int64_t area() const { return width * height; }
  // 2 x 2 blocks round halves up, except those of two-channel images; all others round halves to
  // even.
  bool rounds_up() const { return width == 2 && height == 2 && channels != 2; }
};

// Where the bytes of elements are: of blocks two pixels wide [element][2], of others
// [group of 8 elements][quad of columns][element][4].
struct BlockColumns {
  static constexpr int64_t kLargestArea = 257;  // whose sums have 16 bits
  ByteGather bytes;
  Blocks blocks;

  bool are_pairs() const { return blocks.width == 2 && blocks.height == 2; }
};

// One row of the result, count bytes; row is the first of blocks.height rows, the next ones are
// `ahead` bytes further, if there are any. The vector kernel takes blocks up to kLargestArea.
void block_mean(uint8_t* dst, const uint8_t* row, int64_t pitch, int64_t ahead,
                const BlockColumns& columns, int64_t count);
void block_mean_plain(uint8_t* dst, const uint8_t* row, int64_t pitch, const Blocks& blocks,
                      int64_t count);

}  // namespace kel::imgproc
