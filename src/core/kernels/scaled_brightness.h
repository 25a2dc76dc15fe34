// Brightness of some pixels of a photograph as if it had been scaled: only those that are asked for
// are made.
#pragma once

#include <cstdint>
#include <vector>

namespace kel::imgproc {

// Columns of the scaled photograph. Each lies between two pixels of three bytes, of which the one
// with the greater weight is `near`; all six bytes are within eight bytes of the row.
struct BrightnessColumns {
  static constexpr int64_t kAtOnce = 8;  // columns; tables have that many to spare
  static constexpr int64_t kBytes = 8;   // of a row, for a column
  static constexpr uint8_t kNone = 0x80;

  std::vector<int32_t> starts;   // of the eight bytes
  std::vector<uint8_t> places;   // among them: near and far of each channel, and two kNone
  std::vector<int16_t> weights;  // of far, 0 ... 1024, times -32: three times, and 0
};

// Two rows of the photograph and their weights.
struct BrightnessRows {
  const uint8_t* upper;
  const uint8_t* lower;
  int16_t upper_weight;
  int16_t lower_weight;
};

// to[i] = the length, rounded down, of the colour of column first + i, scaled as by linear_across
// and linear_down. `to` has room for `count` rounded up to kAtOnce.
void scaled_brightness(int16_t* to, const BrightnessRows& rows, const BrightnessColumns& columns,
                       int64_t first, int64_t count);
// Reference version; results must match.
void scaled_brightness_plain(int16_t* to, const BrightnessRows& rows,
                             const BrightnessColumns& columns, int64_t first, int64_t count);

}  // namespace kel::imgproc
