#include <cstddef>

#include "core/kernels/resize_linear.h"

namespace kel::imgproc {

namespace {

void across(int16_t* out, const uint8_t* row, const LinearColumns& columns) {
  int64_t pair = 0;
  for (const int16_t weight : columns.weights) {
    const int near = gathered_byte(row, columns.pairs, pair++);
    const int far = gathered_byte(row, columns.pairs, pair++);
    *out++ = static_cast<int16_t>(128 * near + (128 * (near - far) * weight >> 16));
  }
}

}  // namespace

void linear_across_plain(const RowsAcross<int16_t>& rows, const LinearColumns& columns) {
  for (size_t i = 0; i < static_cast<size_t>(rows.count); ++i) {
    across(rows.to[i], rows.from[i], columns);
  }
}

void linear_down_plain(uint8_t* dst, const LinearRows& rows, int64_t count) {
  for (int64_t x = 0; x < count; ++x) {
    const int upper = rows.upper[x] * rows.upper_weight >> 16;
    const int lower = rows.lower[x] * rows.lower_weight >> 16;
    dst[x] = static_cast<uint8_t>((upper + lower + 2) >> 2);
  }
}

}  // namespace kel::imgproc
