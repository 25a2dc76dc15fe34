#include <algorithm>
#include <vector>

#include "core/kernels/median_run_by_histograms.h"

namespace kel::imageprocess {

void median_run_by_histograms_plain(const ColumnHistograms& all, const uint8_t* open, int32_t first,
                                    int32_t last, int32_t y, uint8_t* result) {
  std::vector<uint8_t> window;
  for (int64_t x = first; x <= last; ++x) {
    if (open[x] == 0) continue;
    window.clear();
    for (int32_t i = -all.radius; i <= all.radius; ++i) {
      for (int32_t column = 0; column <= 2 * all.radius; ++column) {
        const int64_t from = std::clamp<int64_t>(all.left + x + column, 0, all.src->row_bytes - 1);
        window.push_back(all.row(y + i)[from]);
      }
    }
    const auto middle = window.begin() + static_cast<ptrdiff_t>(window.size() / 2);
    std::nth_element(window.begin(), middle, window.end());
    result[x] = *middle;
  }
}

}  // namespace kel::imageprocess
