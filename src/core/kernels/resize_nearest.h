// Scaling by picking pixels, as bytes.
#pragma once

#include <cstdint>

#include "core/kernels/byte_gather.h"

namespace kel::imgproc {

// The first count bytes that `bytes` picks from row. The next row is `ahead` bytes further, if
// there is one.
void pick_bytes(uint8_t* dst, const uint8_t* row, int64_t ahead, const ByteGather& bytes,
                int64_t count);
void pick_bytes_plain(uint8_t* dst, const uint8_t* row, int64_t ahead, const ByteGather& bytes,
                      int64_t count);

// Pixels one by one; offsets are bytes.
void pick_pixels(uint8_t* dst, const uint8_t* row, int64_t ahead, const int32_t* offsets,
                 int64_t count, int channels);

// Pixels of four bytes. Its plain sibling is pick_pixels.
void pick_words(uint8_t* dst, const uint8_t* row, int64_t ahead, const int32_t* offsets,
                int64_t count);

}  // namespace kel::imgproc
