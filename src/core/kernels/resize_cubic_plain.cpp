#include <algorithm>
#include <cmath>

#include "core/kernels/resize_cubic.h"

namespace kel::imgproc {
namespace {

uint8_t saturate(int64_t value) {
  return static_cast<uint8_t>(std::clamp<int64_t>(value, 0, UINT8_MAX));
}

uint8_t round_in_floats(const CubicRows& rows, const std::array<float, 4>& weights, int64_t x) {
  float sum = rows[3][x] * weights[3];
  for (size_t i = 3; i-- > 0;) sum = rows[i][x] * weights[i] + sum;
  return saturate(std::lrint(sum));
}

uint8_t round_exactly(const CubicRows& rows, const CubicWeights& weights, int64_t x) {
  int64_t sum = 1 << 21;
  for (size_t i = 0; i < 4; ++i) sum += static_cast<int64_t>(rows[i][x]) * weights[i];
  return saturate(sum >> 22);
}

void across(float* out, const uint8_t* row, const CubicColumns& columns) {
  for (size_t i = 0; i < columns.even.size(); i += 2) {
    const auto byte = [&](size_t place) {
      return gathered_byte(row, columns.quads, static_cast<int64_t>(2 * i + place));
    };
    const int even = byte(0) * columns.even[i] + byte(2) * columns.even[i + 1];
    const int odd = byte(1) * columns.odd[i] + byte(3) * columns.odd[i + 1];
    *out++ = static_cast<float>(even + odd);
  }
}

}  // namespace

void cubic_across_plain(const RowsAcross<float>& rows, const CubicColumns& columns) {
  for (size_t i = 0; i < static_cast<size_t>(rows.count); ++i) {
    across(rows.to[i], rows.from[i], columns);
  }
}

void cubic_down_plain(uint8_t* dst, const CubicRows& rows, const CubicWeights& weights,
                      int64_t in_floats, int64_t count) {
  constexpr float kScale = 1.0F / (1 << 22);
  std::array<float, 4> factors;
  for (size_t i = 0; i < 4; ++i) factors[i] = static_cast<float>(weights[i]) * kScale;
  for (int64_t x = 0; x < in_floats; ++x) dst[x] = round_in_floats(rows, factors, x);
  for (int64_t x = in_floats; x < count; ++x) dst[x] = round_exactly(rows, weights, x);
}

}  // namespace kel::imgproc
