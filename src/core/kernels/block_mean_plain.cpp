#include "core/kernels/block_mean.h"

#include <cmath>

namespace kel::imgproc {
namespace {

int64_t block_sum(const uint8_t* row, int64_t pitch, const Blocks& blocks) {
  int64_t sum = 0;
  for (int64_t y = 0; y < blocks.height; ++y, row += pitch) {
    for (int64_t x = 0; x < blocks.width; ++x) sum += row[x * blocks.channels];
  }
  return sum;
}

}  // namespace

void block_mean_plain(uint8_t* dst, const uint8_t* row, int64_t pitch, const Blocks& blocks,
                      int64_t count) {
  row += blocks.first * blocks.width * blocks.channels;
  const float scale = 1.0F / static_cast<float>(blocks.area());
  for (int64_t x = 0; x < count; x += blocks.channels, row += blocks.width * blocks.channels) {
    for (int channel = 0; channel < blocks.channels; ++channel) {
      const int64_t sum = block_sum(row + channel, pitch, blocks);
      *dst++ = static_cast<uint8_t>(
          blocks.rounds_up() ? (sum + 2) >> 2 : std::lrint(static_cast<float>(sum) * scale));
    }
  }
}

}  // namespace kel::imgproc
