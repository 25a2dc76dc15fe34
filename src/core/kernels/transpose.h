// Transposes a grid of elements of 1 to 4 bytes.
#pragma once

#include <cstddef>
#include <cstdint>

namespace kel::imageprocess {

// dst(x, y) = src(y, x) for a src of width x height elements; dst is height x width. Strides are
// bytes between rows and may be negative.
void transpose(uint8_t* dst, ptrdiff_t dst_stride, const uint8_t* src, ptrdiff_t src_stride,
               int64_t width, int64_t height, int element_bytes);
// Reference version; results must match.
void transpose_plain(uint8_t* dst, ptrdiff_t dst_stride, const uint8_t* src, ptrdiff_t src_stride,
                     int64_t width, int64_t height, int element_bytes);

}  // namespace kel::imageprocess
