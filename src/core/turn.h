// Turns of a grid of elements of 1 to 4 bytes. Strides are bytes and may be negative.
#pragma once

#include <cstddef>
#include <cstdint>

namespace kel::imageprocess {

// dst(x, y) = src(y, x) for a src of width x height elements; dst is height x width.
void transpose(uint8_t* dst, ptrdiff_t dst_stride, const uint8_t* src, ptrdiff_t src_stride,
               int64_t width, int64_t height, int element_bytes);
// Its definition.
void transpose_plain(uint8_t* dst, ptrdiff_t dst_stride, const uint8_t* src, ptrdiff_t src_stride,
                     int64_t width, int64_t height, int element_bytes);

// dst(x) = src(count - 1 - x).
void reverse_row(uint8_t* dst, const uint8_t* src, int64_t count, int element_bytes);
// Its definition.
void reverse_row_plain(uint8_t* dst, const uint8_t* src, int64_t count, int element_bytes);

}  // namespace kel::imageprocess
