#include <algorithm>
#include <array>

#include "core/kernels/median_by_columns.h"

namespace kel::imageprocess {

void median_by_columns_plain(uint8_t* const* results, const uint8_t* const* rows, int64_t count,
                             int step, int32_t ksize) {
  for (int64_t i = 0; i < kMedianRows * count; ++i) {
    const int64_t row = i / count;
    const int64_t x = i % count;
    std::array<uint8_t, 25> window{};
    uint8_t* end = window.data();
    for (int32_t dy = 0; dy < ksize; ++dy) {
      for (int32_t dx = -ksize / 2; dx <= ksize / 2; ++dx) {
        const int64_t pixel = std::clamp<int64_t>(x / step + dx, 0, count / step - 1);
        *end++ = rows[row + dy][pixel * step + x % step];
      }
    }
    uint8_t* const middle = window.data() + ksize * ksize / 2;
    std::nth_element(window.data(), middle, end);
    results[row][x] = *middle;
  }
}

}  // namespace kel::imageprocess
