#include <algorithm>

#include "core/kernels/spread_row.h"

namespace kel::imageprocess {

uint64_t outstanding_pixels_plain(uint8_t* to, const uint8_t* row, const uint8_t* a,
                                  const uint8_t* b, int32_t chunks, bool maxima) {
  uint64_t occupied = 0;
  const auto nothing = static_cast<uint8_t>(maxima ? 0 : 255);
  const auto stands_out = [&](int32_t x) {
    return maxima ? row[x] > std::min(a[x], b[x]) : row[x] < std::max(a[x], b[x]);
  };
  for (int32_t chunk = 0; chunk < chunks; ++chunk) {
    const int32_t first = chunk * kSpreadChunk;
    const int32_t end = first + kSpreadChunk;
    bool any = false;
    for (int32_t x = first; x < end; ++x) any = any || stands_out(x);
    if (!any) continue;
    occupied |= uint64_t{1} << chunk;
    for (int32_t x = first; x < end; ++x) {
      to[x] = stands_out(x) ? row[x] : nothing;
    }
  }
  return occupied;
}

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
  std::fill_n(row.tables, row.stride, static_cast<uint8_t>(maxima ? 0 : 255));
}

}  // namespace kel::imageprocess
