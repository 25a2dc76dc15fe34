#include <algorithm>
#include <cmath>
#include <cstdlib>

#include "core/kernels/bilateral.h"

namespace kel::imageprocess {
namespace {

// The window's pixel of a tap.
struct Tap {
  const uint8_t* from;
  float weight;
};

struct Sums {
  float weight = 0.0F;
  float channel[3] = {};

  void add(const Tap& tap, int channels, int64_t plane) {
    weight += tap.weight;
    for (int c = 0; c < channels; ++c) {
      channel[c] = std::fma(static_cast<float>(tap.from[c * plane]), tap.weight, channel[c]);
    }
  }

  void add(const Tap (&taps)[4], int channels, int64_t plane) {
    weight += (taps[0].weight + taps[2].weight) + (taps[1].weight + taps[3].weight);
    for (int c = 0; c < channels; ++c) {
      const auto product = [&](int i) {
        return static_cast<float>(taps[i].from[c * plane]) * taps[i].weight;
      };
      channel[c] += (product(0) + product(2)) + (product(1) + product(3));
    }
  }
};

}  // namespace

void bilateral_plain(uint8_t* result, const uint8_t* middle, int64_t count, int channels,
                     BilateralOrder order, const BilateralTaps& taps) {
  for (int64_t x = 0; x < count; ++x) {
    const auto tap = [&](int32_t i) {
      const uint8_t* const from = middle + x + taps.offsets[i];
      int32_t difference = 0;
      for (int c = 0; c < channels; ++c) {
        difference += std::abs(from[c * taps.plane] - middle[x + c * taps.plane]);
      }
      return Tap{from, taps.weights[i] * (taps.colour[difference] / kWeightScale)};
    };
    Sums sums;
    const int32_t count_of_taps = taps.ends[taps.rows - 1];
    int32_t i = 0;
    for (; order == BilateralOrder::kByFours && i + 4 <= count_of_taps; i += 4) {
      sums.add({tap(i), tap(i + 1), tap(i + 2), tap(i + 3)}, channels, taps.plane);
    }
    for (; i < count_of_taps; ++i) sums.add(tap(i), channels, taps.plane);
    for (int c = 0; c < channels; ++c) {
      // Gray is divided, colours are multiplied with the reciprocal.
      const float mean =
          channels == 1 ? sums.channel[c] / sums.weight : sums.channel[c] * (1.0F / sums.weight);
      result[x * channels + c] = static_cast<uint8_t>(std::nearbyint(mean));
    }
  }
}

void split_pixels_plain(const uint8_t* row, int64_t count, uint8_t* planes, int64_t plane) {
  for (int64_t x = 0; x < count; ++x) {
    for (int c = 0; c < 3; ++c) planes[c * plane + x] = row[3 * x + c];
  }
}

void find_ranges_plain(const CellRanges& ranges) {
  for (int64_t x = 0; x < ranges.cells; ++x) {
    const uint8_t* const from = ranges.row + kCell * x;
    const auto [least, greatest] = std::minmax_element(from, from + kCell * ranges.width);
    ranges.least[x] = *least;
    ranges.greatest[x] = *greatest;
  }
}

}  // namespace kel::imageprocess
