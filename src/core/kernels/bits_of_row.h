// Rows of bytes as rows of bits, and back: bit x % 64 of word x / 64 stands for pixel x.
#pragma once

#include <cstdint>

namespace kel::imageprocess {

// Sets the bits of the bytes above `level`; what is left of the last word becomes 0.
void bits_above(uint64_t* bits, const uint8_t* row, int64_t count, uint8_t level);
// 255 for a bit that is set, 0 for one that is not.
void bytes_of_bits(uint8_t* row, const uint64_t* bits, int64_t count);

// Reference versions; results must match.
void bits_above_plain(uint64_t* bits, const uint8_t* row, int64_t count, uint8_t level);
void bytes_of_bits_plain(uint8_t* row, const uint64_t* bits, int64_t count);

}  // namespace kel::imageprocess
