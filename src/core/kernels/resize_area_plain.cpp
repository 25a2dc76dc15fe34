#include <algorithm>
#include <cmath>

#include "core/kernels/resize_area.h"

namespace kel::imgproc {
namespace {

float sum_of_taps(const uint8_t* row, const AreaColumns& columns, int64_t element) {
  const int64_t first = element / AreaColumns::kGroup * columns.quads();
  const int64_t place = element % AreaColumns::kGroup;
  float sum = 0;
  for (int64_t tap = 0; tap < columns.taps; ++tap) {
    const int64_t byte = (AreaColumns::kGroup * (first + tap / 4) + place) * 4 + tap % 4;
    const int64_t weight = AreaColumns::kGroup * (4 * first + tap) + place;
    sum += static_cast<float>(gathered_byte(row, columns.bytes, byte)) *
           columns.weights[static_cast<size_t>(weight)];
  }
  return sum;
}

}  // namespace

void area_across_plain(const RowsAcross<float>& rows, const AreaColumns& columns) {
  const int64_t count = AreaColumns::kGroup * columns.groups();
  for (size_t i = 0; i < static_cast<size_t>(rows.count); ++i) {
    for (int64_t x = 0; x < count; ++x) rows.to[i][x] = sum_of_taps(rows.from[i], columns, x);
  }
}

void area_add_plain(float* sum, const float* row, float weight, bool is_first, int64_t count) {
  for (int64_t x = 0; x < count; ++x) sum[x] = (is_first ? 0.0F : sum[x]) + row[x] * weight;
}

void area_finish_plain(uint8_t* dst, const float* sum, int64_t count) {
  for (int64_t x = 0; x < count; ++x) {
    dst[x] = static_cast<uint8_t>(std::clamp<long>(std::lrint(sum[x]), 0, UINT8_MAX));
  }
}

}  // namespace kel::imgproc
