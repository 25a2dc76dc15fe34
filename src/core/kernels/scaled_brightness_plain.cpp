#include <cmath>

#include "core/kernels/scaled_brightness.h"

namespace kel::imgproc {

// Single precision is exact for the root: sums are integers below 2^18, so it is never within a
// rounding error below the next integer.
void scaled_brightness_plain(int16_t* to, const BrightnessRows& rows,
                             const BrightnessColumns& columns, int64_t first, int64_t count) {
  for (int64_t x = first; x < first + count; ++x) {
    const int32_t start = columns.starts[static_cast<size_t>(x)];
    const uint8_t* const places = columns.places.data() + BrightnessColumns::kBytes * x;
    const int weight = columns.weights[static_cast<size_t>(4 * x)];
    int32_t sum = 0;
    for (int channel = 0; channel < 3; ++channel) {
      const auto across = [&](const uint8_t* row) {
        const int near = row[start + places[2 * channel]];
        const int far = row[start + places[2 * channel + 1]];
        return 128 * near + (128 * (near - far) * weight >> 16);
      };
      const int32_t upper = across(rows.upper) * rows.upper_weight >> 16;
      const int32_t lower = across(rows.lower) * rows.lower_weight >> 16;
      const int32_t value = (upper + lower + 2) >> 2;
      sum += value * value;
    }
    *to++ = static_cast<int16_t>(std::sqrt(static_cast<float>(sum)));
  }
}

}  // namespace kel::imgproc
