#include <algorithm>

#include "core/kernels/spread_row.h"

namespace kel::imageprocess {

void spread_row_plain(const RowSpread& row, bool maxima) {
  uint8_t* const* target = row.targets;
  for (const KernelRun* run = row.runs; run != row.runs + row.run_count; ++run) {
    for (int32_t i = 0; i < run->rows; ++i, ++target) {
      for (int32_t x = 0; *target != nullptr && x < row.width; ++x) {
        const uint8_t* from = row.tables + x + run->first;
        const uint8_t* end = row.tables + x + run->second + (int64_t{1} << run->level);
        uint8_t& pixel = (*target)[x];
        pixel = maxima ? std::max(pixel, *std::max_element(from, end))
                       : std::min(pixel, *std::min_element(from, end));
      }
    }
  }
}

}  // namespace kel::imageprocess
