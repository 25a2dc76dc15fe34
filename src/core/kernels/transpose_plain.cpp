#include "core/kernels/transpose.h"

#include <cstring>

namespace kel::imageprocess {
namespace {

template <size_t Bytes>
void transpose_elements(uint8_t* dst, ptrdiff_t dst_stride, const uint8_t* src,
                        ptrdiff_t src_stride, int64_t width, int64_t height) {
  for (int64_t x = 0; x < width; ++x) {
    for (int64_t y = 0; y < height; ++y) {
      std::memcpy(dst + x * dst_stride + y * static_cast<int64_t>(Bytes),
                  src + y * src_stride + x * static_cast<int64_t>(Bytes), Bytes);
    }
  }
}

}  // namespace

void transpose_plain(uint8_t* dst, ptrdiff_t dst_stride, const uint8_t* src, ptrdiff_t src_stride,
                     int64_t width, int64_t height, int element_bytes) {
  constexpr decltype(&transpose_elements<1>) kBySize[]{
      transpose_elements<1>, transpose_elements<2>, transpose_elements<3>, transpose_elements<4>};
  kBySize[element_bytes - 1](dst, dst_stride, src, src_stride, width, height);
}

}  // namespace kel::imageprocess
