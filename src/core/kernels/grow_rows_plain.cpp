#include "core/kernels/grow_rows.h"

namespace kel::imageprocess {

void grow_rows_plain(uint64_t* to, const uint64_t* from, const WordRows& rows,
                     const uint64_t* const* a, const uint64_t* const* b) {
  constexpr int kLastBit = 63;
  for (int64_t y = 0; y < rows.count; ++y, to += rows.stride, from += rows.stride) {
    for (int64_t i = rows.begin; i < rows.end; ++i) {
      const uint64_t to_left = from[i] >> 1 | from[i + 1] << kLastBit;
      const uint64_t to_right = from[i] << 1 | from[i - 1] >> kLastBit;
      to[i] = from[i] | to_left | to_right | a[y][i] | b[y][i];
    }
  }
}

}  // namespace kel::imageprocess
