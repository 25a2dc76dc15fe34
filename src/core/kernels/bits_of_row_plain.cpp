#include "core/kernels/bits_of_row.h"

namespace kel::imageprocess {

void bits_above_plain(uint64_t* bits, const uint8_t* row, int64_t count, uint8_t level) {
  for (int64_t x = 0; x < count; ++x) {
    if (x % 64 == 0) bits[x / 64] = 0;
    bits[x / 64] |= uint64_t{row[x] > level} << (x % 64);
  }
}

void bytes_of_bits_plain(uint8_t* row, const uint64_t* bits, int64_t count) {
  for (int64_t x = 0; x < count; ++x) row[x] = (bits[x / 64] >> (x % 64) & 1) != 0 ? 255 : 0;
}

}  // namespace kel::imageprocess
