// The two passes of bilinear scaling, in fixed point with 11 bits for a weight.
#pragma once

#include <cstdint>
#include <vector>

#include "core/kernels/byte_gather.h"

namespace kel::imgproc {

// Elements are bytes of the result's row. Each lies between two bytes of the source's row: the one
// with the greater weight, `near`, comes first in the gathered pair.
struct LinearColumns {
  ByteGather pairs;
  std::vector<int16_t> weights;  // of far, 0 ... 1024, times -32; as many as there are pairs
};

// to = (near * (2048 - weight) + far * weight) >> 4, for all elements of `columns`.
void linear_across(const RowsAcross<int16_t>& rows, const LinearColumns& columns);
void linear_across_plain(const RowsAcross<int16_t>& rows, const LinearColumns& columns);

// Two rows that were scaled across, and their weights.
struct LinearRows {
  const int16_t* upper = nullptr;
  const int16_t* lower = nullptr;
  int16_t upper_weight = 0;
  int16_t lower_weight = 0;
};

// dst = (upper * weight >> 16) + (lower * weight >> 16), with two more bits rounded off. Rows have
// `count` elements rounded up to 16.
void linear_down(uint8_t* dst, const LinearRows& rows, int64_t count);
void linear_down_plain(uint8_t* dst, const LinearRows& rows, int64_t count);

}  // namespace kel::imgproc
