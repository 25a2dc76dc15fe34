#include "core/kernels/spread_bits.h"

namespace kel::imageprocess {

void spread_bits_plain(uint64_t* const* to, const uint64_t* row, int64_t words, const BitRun* runs,
                       int32_t count, uint64_t* /*scratch*/) {
  for (int32_t i = 0; i < count; ++i) {
    for (int64_t word = 0; word < words; ++word) {
      uint64_t any = 0;
      for (int32_t x = runs[i].first; x < runs[i].first + runs[i].length; ++x) {
        const uint64_t* const at = row + word + (x < 0 ? -1 : 0);
        const int32_t shift = x & 63;
        any |= at[0] >> shift;
        if (shift != 0) any |= at[1] << (64 - shift);
      }
      to[i][word] = any;
    }
  }
}

void join_bits_plain(uint64_t* to, const uint64_t* const* rows, int32_t count, int64_t words) {
  for (int64_t word = 0; word < words; ++word) {
    uint64_t any = 0;
    for (int32_t i = 0; i < count; ++i) any |= rows[i][word];
    to[word] = any;
  }
}

}  // namespace kel::imageprocess
