// Bytes picked from a row by table, the first stage of all resampling: what a pixel needs is laid
// out side by side, whatever the scale and the number of channels.
#pragma once

#include <array>
#include <cstdint>
#include <vector>

namespace kel::imgproc {

// Blocks of 16 bytes, each put together from windows of 16 bytes of the row. All blocks have the
// same number of windows; those that need fewer have windows that give nothing. Nearly all may need
// fewer: kernels may make all blocks from these and make the others again.
struct ByteGather {
  static constexpr int64_t kBlock = 16;
  static constexpr int32_t kZero = INT32_MAX;  // an offset that gives 0
  static constexpr uint8_t kNone = 0x80;       // a lookup that gives 0

  int64_t blocks = 0;  // even: wide vectors hold two
  int64_t windows = 0;
  int64_t usual_windows = 0;
  std::vector<int64_t> unusual;  // pairs of blocks that need more, by the first of the two
  std::vector<int32_t> starts;   // of windows: [window][block]
  std::vector<uint8_t> lookup;   // places in the window: [window][block][16]
};

// Byte i of the result is row[offsets[i]]; what is missing of the last blocks is 0. Windows lie
// within the row_bytes bytes of a row, of which there must be 16 at least.
ByteGather plan_byte_gather(const std::vector<int32_t>& offsets, int64_t row_bytes);

// One or two rows at once: two share what is read from the tables.
template <typename Value>
struct RowsAcross {
  int count = 0;
  std::array<const uint8_t*, 2> from{};
  std::array<Value*, 2> to{};
  int64_t ahead = 0;  // bytes from each row to the one that its next turn will need, or 0
};

// One byte of the result.
uint8_t gathered_byte(const uint8_t* row, const ByteGather& gather, int64_t index);

}  // namespace kel::imgproc
