#include <cstring>

#include "core/kernels/resize_nearest.h"

namespace kel::imgproc {
namespace {

template <size_t Channels>
void pick(uint8_t* dst, const uint8_t* row, int64_t ahead, const int32_t* offsets, int64_t count) {
  for (int64_t x = 0; x < count; ++x, dst += Channels) {
    __builtin_prefetch(row + offsets[x] + ahead, 0, 2);
    std::memcpy(dst, row + offsets[x], Channels);
  }
}

}  // namespace

void pick_bytes_plain(uint8_t* dst, const uint8_t* row, int64_t /*ahead*/, const ByteGather& bytes,
                      int64_t count) {
  for (int64_t x = 0; x < count; ++x) dst[x] = gathered_byte(row, bytes, x);
}

void pick_pixels(uint8_t* dst, const uint8_t* row, int64_t ahead, const int32_t* offsets,
                 int64_t count, int channels) {
  constexpr decltype(&pick<1>) kByChannels[]{pick<1>, pick<2>, pick<3>, pick<4>};
  kByChannels[channels - 1](dst, row, ahead, offsets, count);
}

}  // namespace kel::imgproc
