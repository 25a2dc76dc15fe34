#include <cstdlib>

#include "core/kernels/gaussian.h"

namespace kel::imageprocess {

void gaussian_along_row_plain(int16_t* sums, const uint8_t* row, int64_t count, int step,
                              GaussianTaps taps) {
  for (int64_t x = 0; x < count; ++x) {
    int32_t sum = -kSumOffset;
    for (int32_t i = -taps.radius; i <= taps.radius; ++i) {
      sum += taps.taps[std::abs(i)] * row[x + int64_t{i} * step];
    }
    sums[x] = static_cast<int16_t>(sum);
  }
}

void gaussian_across_rows_plain(uint8_t* const* results, const int16_t* const* rows, int64_t count,
                                GaussianTaps taps) {
  for (int y = 0; y < kGaussianRows; ++y) {
    for (int64_t x = 0; x < count; ++x) {
      int32_t sum = 0;
      for (int32_t i = -taps.radius; i <= taps.radius; ++i) {
        sum += taps.taps[std::abs(i)] * (rows[y + taps.radius + i][x] + 32768);
      }
      results[y][x] = static_cast<uint8_t>(sum >> 16);
    }
  }
}

}  // namespace kel::imageprocess
