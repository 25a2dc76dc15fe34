#include <algorithm>
#include <vector>

#include "core/kernels/median_run_by_histograms.h"

namespace kel::imageprocess {

void median_run_by_histograms_plain(const ColumnHistograms& all, const uint8_t* open, int32_t first,
                                    int32_t last, int32_t y, uint8_t* result) {
  std::vector<uint8_t> window;
  for (int64_t x = first; x <= last; ++x) {
    if (open != nullptr && open[x] == 0) continue;
    window.clear();
    for (int32_t i = -all.radius; i <= all.radius; ++i) {
      for (int32_t column = 0; column <= 2 * all.radius; ++column) {
        window.push_back(all.src.row(y + i)[all.src.at(all.left + x + column)]);
      }
    }
    const auto middle = window.begin() + static_cast<ptrdiff_t>(window.size() / 2);
    std::nth_element(window.begin(), middle, window.end());
    result[x * all.src.step] = *middle;
  }
}

}  // namespace kel::imageprocess
