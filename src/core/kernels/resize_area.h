// Scaling down by the mean of what a pixel covers, for factors that are not whole: in single
// precision, every operation rounded, in the order in which OpenCV adds.
#pragma once

#include <cstdint>
#include <vector>

#include "core/kernels/byte_gather.h"

namespace kel::imgproc {

// Elements are bytes of the result's row, eight to a group. Each is a sum of bytes of the source's
// row, taken four at a time; elements that need fewer than others have weights of 0 at the end.
struct AreaColumns {
  static constexpr int64_t kGroup = 8;

  int64_t taps = 0;            // bytes that an element needs at most
  ByteGather bytes;            // [group][quad][element][place]
  std::vector<float> weights;  // [group][quad][place][element]

  int64_t quads() const { return (taps + 3) / 4; }
  int64_t groups() const { return bytes.blocks / (2 * quads()); }
};

// to = byte * weight + byte * weight + ... from the left, for all elements of `columns`.
void area_across(const RowsAcross<float>& rows, const AreaColumns& columns);
void area_across_plain(const RowsAcross<float>& rows, const AreaColumns& columns);

// sum = sum + row * weight; the first row finds a sum of 0. Both have whole groups.
void area_add(float* sum, const float* row, float weight, bool is_first, int64_t count);
void area_add_plain(float* sum, const float* row, float weight, bool is_first, int64_t count);

// Sums rounded to nearest, halves to even. There are 16 more than `count` rounded up to 16 needs.
void area_finish(uint8_t* dst, const float* sum, int64_t count);
void area_finish_plain(uint8_t* dst, const float* sum, int64_t count);

}  // namespace kel::imgproc
