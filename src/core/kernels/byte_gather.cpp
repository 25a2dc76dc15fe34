#include "core/kernels/byte_gather.h"

#include <algorithm>
#include <array>

namespace kel::imgproc {
namespace {

using Offsets = std::array<uint32_t, ByteGather::kBlock>;

void add_window_to_all_blocks(ByteGather& gather) {
  ++gather.windows;
  const auto blocks = static_cast<size_t>(gather.blocks * gather.windows);
  gather.starts.resize(blocks, 0);
  gather.lookup.resize(ByteGather::kBlock * blocks, ByteGather::kNone);
}

// Offsets that the window reaches become kZero: they are done.
void take_from_window(Offsets& offsets, uint8_t* lookup, uint32_t start) {
  for (size_t i = 0; i < offsets.size(); ++i) {
    const uint32_t place = offsets[i] - start;
    const bool is_inside = place < ByteGather::kBlock;
    lookup[i] = is_inside ? static_cast<uint8_t>(place) : ByteGather::kNone;
    offsets[i] = is_inside ? ByteGather::kZero : offsets[i];
  }
}

void plan_block(ByteGather& gather, int64_t block, Offsets& offsets, uint32_t last_start) {
  for (int64_t window = 0;; ++window) {
    uint32_t first = ByteGather::kZero;
    for (const uint32_t offset : offsets) first = std::min(first, offset);
    if (first == ByteGather::kZero) return;
    if (window == gather.windows) add_window_to_all_blocks(gather);
    const auto at = static_cast<size_t>(window * gather.blocks + block);
    gather.starts[at] = std::min(first, last_start);
    take_from_window(offsets, gather.lookup.data() + ByteGather::kBlock * at, gather.starts[at]);
  }
}

}  // namespace

ByteGather plan_byte_gather(const std::vector<uint32_t>& offsets, int64_t row_bytes) {
  ByteGather gather;
  gather.blocks = (static_cast<int64_t>(offsets.size()) + 31) / 32 * 2;
  const auto last_start = static_cast<uint32_t>(row_bytes - ByteGather::kBlock);
  add_window_to_all_blocks(gather);
  for (size_t first = 0; first < offsets.size(); first += ByteGather::kBlock) {
    Offsets wanted;
    wanted.fill(ByteGather::kZero);
    const size_t count = std::min(wanted.size(), offsets.size() - first);
    std::copy_n(offsets.data() + first, count, wanted.data());
    plan_block(gather, static_cast<int64_t>(first / ByteGather::kBlock), wanted, last_start);
  }
  return gather;
}

uint8_t gathered_byte(const uint8_t* row, const ByteGather& gather, int64_t index) {
  for (int64_t window = 0; window < gather.windows; ++window) {
    const int64_t block = window * gather.blocks + index / ByteGather::kBlock;
    const auto lookup =
        static_cast<size_t>(block * ByteGather::kBlock + index % ByteGather::kBlock);
    if (gather.lookup[lookup] == ByteGather::kNone) continue;
    return row[gather.starts[static_cast<size_t>(block)] + gather.lookup[lookup]];
  }
  return 0;
}

}  // namespace kel::imgproc
