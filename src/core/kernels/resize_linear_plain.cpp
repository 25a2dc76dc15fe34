#include "core/kernels/resize_linear.h"

namespace kel::imgproc {

void linear_across_plain(int16_t* out, const uint8_t* row, const LinearColumns& columns) {
  int64_t pair = 0;
  for (const int16_t weight : columns.weights) {
    const int near = gathered_byte(row, columns.pairs, pair++);
    const int far = gathered_byte(row, columns.pairs, pair++);
    *out++ = static_cast<int16_t>(128 * near + (128 * (near - far) * weight >> 16));
  }
}

void linear_down_plain(uint8_t* dst, const int16_t* upper, const int16_t* lower,
                       int16_t upper_weight, int16_t lower_weight, int64_t count) {
  for (int64_t x = 0; x < count; ++x) {
    const int sum = (upper[x] * upper_weight >> 16) + (lower[x] * lower_weight >> 16);
    dst[x] = static_cast<uint8_t>((sum + 2) >> 2);
  }
}

}  // namespace kel::imgproc
