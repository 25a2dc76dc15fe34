#include <algorithm>

#include "core/kernels/enlarge_row.h"

namespace kel::imgproc {

void enlarge_row_plain(uint8_t* dst, const EnlargedRow& row, const EnlargedColumns& columns) {
  const ByteGather& pairs = columns.pairs.pairs;
  for (int64_t x = 0; x < columns.width; ++x) {
    const auto across = [&](const uint8_t* from) {
      const int near = gathered_byte(from, pairs, 2 * x);
      const int far = gathered_byte(from, pairs, 2 * x + 1);
      const int weight = columns.pairs.weights[static_cast<size_t>(x)];
      return 128 * near + (128 * (near - far) * weight >> 16);
    };
    dst[x] = blended(across(row.upper), across(row.lower), row);
  }
  for (const UnevenColumn& column : columns.uneven) dst[column.x] = uneven_pixel(column, row);
}

void find_changes_plain(uint64_t* bits, const uint8_t* row, int64_t count) {
  std::fill_n(bits, (count + 63) / 64, uint64_t{0});
  for (int64_t x = 0; x + 1 < count; ++x) {
    bits[x / 64] |= uint64_t{row[x] != row[x + 1]} << (x % 64);
  }
}

}  // namespace kel::imgproc
