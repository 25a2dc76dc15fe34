#include <algorithm>

#include "core/kernels/spread_ellipse.h"

namespace kel::imageprocess {

void spread_ellipse_plain(const EllipseSpread& job, bool maxima) {
  for (int32_t y = 0; y < job.count; ++y) {
    for (int64_t x = 0; x < kSpreadColumns; ++x) {
      uint8_t extreme = maxima ? 0 : 255;
      for (int32_t i = 0; i < job.side; ++i) {
        const PixelRun run = job.runs[job.run_of_row[i]];
        for (int32_t j = run.first; j < run.first + run.length; ++j) {
          const uint8_t value = job.rows[y + i][x + j];
          extreme = maxima ? std::max(extreme, value) : std::min(extreme, value);
        }
      }
      job.results[y][x] = extreme;
    }
  }
}

}  // namespace kel::imageprocess
