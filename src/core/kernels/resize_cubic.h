// The two passes of bicubic scaling: exact across, in single precision down, which is how OpenCV
// does it where it has vectors.
#pragma once

#include <array>
#include <cstdint>
#include <vector>

#include "core/kernels/byte_gather.h"

namespace kel::imgproc {

// Elements are bytes of the result's row, each a sum of four bytes of the source's row, with
// weights of 11 bits that may be negative.
struct CubicColumns {
  ByteGather quads;
  std::vector<int16_t> even;  // weights of bytes 0 and 2 of each quad
  std::vector<int16_t> odd;   // of bytes 1 and 3
};

// The weighted sums, which are whole numbers of at most 20 bits, for all elements of `columns`.
void cubic_across(const RowsAcross<float>& rows, const CubicColumns& columns);
void cubic_across_plain(const RowsAcross<float>& rows, const CubicColumns& columns);

using CubicRows = std::array<const float*, 4>;
using CubicWeights = std::array<int16_t, 4>;  // of 11 bits

// dst = the sum of rows times weights, divided by 2^22 and rounded to nearest, the first
// `in_floats` elements (a multiple of 8) by
//   w[0] * r[0] + (w[1] * r[1] + (w[2] * r[2] + w[3] * r[3]))
// with every operation rounded to single precision and halves rounded to even, the others exactly,
// with halves rounded up. Rows have 16 elements more than `count` rounded up to 16 needs.
void cubic_down(uint8_t* dst, const CubicRows& rows, const CubicWeights& weights, int64_t in_floats,
                int64_t count);
void cubic_down_plain(uint8_t* dst, const CubicRows& rows, const CubicWeights& weights,
                      int64_t in_floats, int64_t count);

}  // namespace kel::imgproc
