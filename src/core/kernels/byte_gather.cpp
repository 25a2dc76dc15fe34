#include "core/kernels/byte_gather.h"

#include <algorithm>
#include <array>

namespace kel::imgproc {
namespace {

using Offsets = std::array<int32_t, ByteGather::kBlock>;

void add_window_to_all_blocks(ByteGather& gather) {
  ++gather.windows;
  const auto blocks = static_cast<size_t>(gather.blocks * gather.windows);
  gather.starts.resize(blocks, 0);
  gather.lookup.resize(ByteGather::kBlock * blocks, ByteGather::kNone);
}

// Offsets that the window reaches become kZero: they are done. Returns the least that is left.
int32_t take_from_window(Offsets& offsets, uint8_t* lookup, int32_t start) {
  int32_t least = ByteGather::kZero;
  for (size_t i = 0; i < offsets.size(); ++i) {
    const int32_t place = offsets[i] - start;
    const bool is_inside = place < ByteGather::kBlock;
    lookup[i] = static_cast<uint8_t>(is_inside ? place : ByteGather::kNone);
    offsets[i] = is_inside ? ByteGather::kZero : offsets[i];
    least = std::min(least, offsets[i]);
  }
  return least;
}

// Returns the number of windows.
int64_t plan_block(ByteGather& gather, int64_t block, Offsets& offsets, int32_t last_start) {
  int32_t first = *std::min_element(offsets.begin(), offsets.end());
  int64_t window = 0;
  for (; first != ByteGather::kZero; ++window) {
    if (window == gather.windows) add_window_to_all_blocks(gather);
    const auto at = static_cast<size_t>(window * gather.blocks + block);
    const int32_t start = std::min(first, last_start);
    gather.starts[at] = start;
    first = take_from_window(offsets, gather.lookup.data() + ByteGather::kBlock * at, start);
  }
  return window;
}

// One window less than the most is usual if three pairs of blocks in four need no more.
void find_unusual(ByteGather& gather, const std::vector<int64_t>& windows) {
  gather.usual_windows = gather.windows;
  if (gather.windows == 1) return;
  for (size_t block = 0; block < windows.size(); block += 2) {
    const int64_t most = std::max(windows[block], windows[block + 1]);
    if (most == gather.windows) gather.unusual.push_back(static_cast<int64_t>(block));
  }
  if (gather.unusual.size() > windows.size() / 2 / 4) return gather.unusual.clear();
  --gather.usual_windows;
}

}  // namespace

ByteGather plan_byte_gather(const std::vector<int32_t>& offsets, int64_t row_bytes) {
  ByteGather gather;
  gather.blocks = (static_cast<int64_t>(offsets.size()) + 31) / 32 * 2;
  const auto last_start = static_cast<int32_t>(row_bytes - ByteGather::kBlock);
  add_window_to_all_blocks(gather);
  std::vector<int64_t> windows(static_cast<size_t>(gather.blocks));
  for (size_t first = 0; first < offsets.size(); first += ByteGather::kBlock) {
    Offsets wanted;
    wanted.fill(ByteGather::kZero);
    const size_t count = std::min(wanted.size(), offsets.size() - first);
    std::copy_n(offsets.data() + first, count, wanted.data());
    const size_t block = first / ByteGather::kBlock;
    windows[block] = plan_block(gather, static_cast<int64_t>(block), wanted, last_start);
  }
  find_unusual(gather, windows);
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
