#include <cstdlib>

#include "core/kernels/gaussian_small.h"

namespace kel::imageprocess {

void gaussian_small_plain(const SmallGaussian& job) {
  const int64_t first = -job.before / job.step;
  const int64_t last = (job.count + job.after) / job.step - 1;
  const auto at = [&](int64_t pixel) {
    if (pixel < first) return (2 * first - pixel) * job.step;
    return (pixel > last ? 2 * last - pixel : pixel) * job.step;
  };
  for (int y = 0; y < kGaussianRows; ++y) {
    if (job.results[y] == nullptr) continue;
    for (int64_t x = 0; x < job.count; ++x) {
      int32_t sum = 32768;
      for (int32_t i = -job.across.radius; i <= job.across.radius; ++i) {
        const uint8_t* const row = job.rows[y + job.across.radius + i] + x % job.step;
        for (int32_t j = -job.along.radius; j <= job.along.radius; ++j) {
          sum += job.across.taps[std::abs(i)] * job.along.taps[std::abs(j)] *
                 row[at(x / job.step + j)];
        }
      }
      job.results[y][x] = static_cast<uint8_t>(sum >> 16);
    }
  }
}

}  // namespace kel::imageprocess
