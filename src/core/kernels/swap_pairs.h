// A row of byte pairs with the bytes of each pair swapped.
#pragma once

#include <cstdint>

namespace kel::imageprocess {

void swap_pairs(uint8_t* dst, const uint8_t* src, int64_t pairs);
// Reference version; results must match.
inline void swap_pairs_plain(uint8_t* dst, const uint8_t* src, int64_t pairs) {
  for (int64_t i = 0; i < 2 * pairs; i += 2) {
    dst[i] = src[i + 1];
    dst[i + 1] = src[i];
  }
}

}  // namespace kel::imageprocess
