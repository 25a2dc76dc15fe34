#include <algorithm>
#include <array>

#include "core/kernels/median_row_by_network.h"

namespace kel::imageprocess {

void median_row_by_network_plain(const NetworkRow& row, int32_t ksize) {
  if (row.result == nullptr) return;
  for (int32_t x = 0; x < row.width; ++x) {
    std::array<uint8_t, 25> window;
    uint8_t* end = window.data();
    for (int32_t i = 0; i < ksize; ++i) {
      for (int32_t column = x - ksize / 2; column <= x + ksize / 2; ++column) {
        *end++ = row.rows[i][std::clamp(column, 0, row.width - 1)];
      }
    }
    uint8_t* const middle = window.data() + ksize * ksize / 2;
    std::nth_element(window.data(), middle, end);
    row.result[x] = *middle;
  }
}

}  // namespace kel::imageprocess
