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

// out = (near * (2048 - weight) + far * weight) >> 4, for all elements of `columns`.
void linear_across(int16_t* out, const uint8_t* row, const LinearColumns& columns);
void linear_across_plain(int16_t* out, const uint8_t* row, const LinearColumns& columns);

// dst = (upper * weight >> 16) + (lower * weight >> 16), two more bits rounded off. The rows of
// source elements have 16 elements more than `count` rounded up to 16 needs.
void linear_down(uint8_t* dst, const int16_t* upper, const int16_t* lower, int16_t upper_weight,
                 int16_t lower_weight, int64_t count);
void linear_down_plain(uint8_t* dst, const int16_t* upper, const int16_t* lower,
                       int16_t upper_weight, int16_t lower_weight, int64_t count);

}  // namespace kel::imgproc
