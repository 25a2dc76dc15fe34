#include "core/kernels/reverse_row.h"

#include <cstring>

namespace kel::imageprocess {
namespace {

template <size_t Bytes>
void reverse_elements(uint8_t* dst, const uint8_t* src, int64_t count) {
  for (int64_t x = 0; x < count; ++x) {
    std::memcpy(dst + x * static_cast<int64_t>(Bytes),
                src + (count - 1 - x) * static_cast<int64_t>(Bytes), Bytes);
  }
}

}  // namespace

void reverse_row_plain(uint8_t* dst, const uint8_t* src, int64_t count, int element_bytes) {
  constexpr decltype(&reverse_elements<1>) kBySize[]{reverse_elements<1>, reverse_elements<2>,
                                                     reverse_elements<3>, reverse_elements<4>};
  kBySize[element_bytes - 1](dst, src, count);
}

}  // namespace kel::imageprocess
