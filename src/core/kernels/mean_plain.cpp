#include <cmath>

#include "core/kernels/mean.h"

namespace kel::imageprocess {
void slide_down_plain(uint16_t* columns, uint16_t* sums, const uint8_t* const* entering,
                      const uint8_t* const* leaving, int64_t count) {
  for (int64_t x = 0; x < count; ++x) {
    for (int i = 0; i < kMeanRows; ++i) {
      sums[x] = static_cast<uint16_t>(sums[x] + entering[i][x] - leaving[i][x]);
      columns[x * kMeanRows + i] = sums[x];
    }
  }
}

void mean_along_plain(WindowSums& sums, const MeanAlong& job) {
  const int32_t area = job.ksize * job.ksize;
  const float reciprocal = 1.0F / static_cast<float>(area);
  const int64_t window = int64_t{job.ksize} * job.step * kMeanRows;
  const uint16_t* entering = job.columns;
  for (int64_t x = 0; x < (job.pixels + 1) / 2 * 2 * job.step; ++x) {
    for (int i = 0; i < kMeanRows; ++i, ++entering) {
      float& kept = sums.large[x % job.step * kMeanRows + i];
      kept += static_cast<float>(*entering - *(entering - window));
      const bool exact = job.ksize <= kLargestSmallMean || x >= job.single;
      const auto sum = static_cast<int32_t>(kept);
      const int64_t mean = exact ? (sum + area / 2) / area : std::lrint(kept * reciprocal);
      job.means[x / 2][i][x % 2] = static_cast<uint8_t>(mean);
    }
  }
}

}  // namespace kel::imageprocess
