#include "core/kernels/block_mean.h"
#include "core/resample/scaling.h"

namespace kel::imgproc {
namespace {

class BlockMeans {
 public:
  BlockMeans(const Scaling& scaling, Columns columns, Blocks blocks)
      : scaling_(scaling), columns_(columns), uses_vectors_(can_use_vectors(scaling, blocks)) {
    across_.blocks = blocks;
    across_.blocks.first = columns.first;
    if (!uses_vectors_) return;
    const std::vector<int32_t> offsets = across_.are_pairs() ? pairs() : quads();
    across_.bytes = plan_byte_gather(offsets, SourceRows::gathered_bytes(scaling.src));
  }

  void run(int64_t top, int64_t end) const {
    const Blocks& blocks = across_.blocks;
    const int64_t count = blocks.channels * (columns_.end - columns_.first);
    const auto pitch = static_cast<int64_t>(scaling_.src.step[0]);
    for (int64_t y = top; y < end; ++y) {
      const uint8_t* row = scaling_.src.data + blocks.height * y * pitch;
      uint8_t* out = scaling_.dst_at(columns_.first, y);
      if (uses_vectors_) {
        const int64_t ahead = y + 1 < scaling_.dst.rows ? blocks.height * pitch : 0;
        block_mean(out, row, pitch, ahead, across_, count);
      } else {
        block_mean_plain(out, row, pitch, blocks, count);
      }
    }
  }

 private:
  static bool can_use_vectors(const Scaling& scaling, const Blocks& blocks) {
    return blocks.area() <= BlockColumns::kLargestArea &&
           SourceRows::row_bytes(scaling.src) >= ByteGather::kBlock;
  }

  // The byte of column `column` of an element's block.
  int32_t offset(int64_t element, int64_t column) const {
    const Blocks& blocks = across_.blocks;
    const int64_t first = (columns_.first + element / blocks.channels) * blocks.width;
    return static_cast<int32_t>((first + column) * blocks.channels + element % blocks.channels);
  }

  int64_t elements() const { return across_.blocks.channels * (columns_.end - columns_.first); }

  std::vector<int32_t> pairs() const {
    std::vector<int32_t> offsets;
    for (int64_t element = 0; element < elements(); ++element) {
      for (int64_t column = 0; column < 2; ++column) offsets.push_back(offset(element, column));
    }
    return offsets;
  }

  std::vector<int32_t> quads() const {
    constexpr int64_t kGroup = 8;
    std::vector<int32_t> offsets;
    for (int64_t first = 0; first < elements(); first += kGroup) {
      for (int64_t column = 0; column < across_.blocks.width; column += 4) {
        for (int64_t i = 0; i < 4 * kGroup; ++i) {
          const int64_t element = first + i / 4;
          const int64_t at = column + i % 4;
          const bool is_there = element < elements() && at < across_.blocks.width;
          offsets.push_back(is_there ? offset(element, at) : ByteGather::kZero);
        }
      }
    }
    // Kernels take two groups at once.
    offsets.resize(offsets.size() + static_cast<size_t>(kGroup * (across_.blocks.width + 3)),
                   ByteGather::kZero);
    return offsets;
  }

  const Scaling& scaling_;
  Columns columns_;
  bool uses_vectors_;
  BlockColumns across_;
};

}  // namespace

void scale_by_blocks(const Scaling& scaling, int64_t width, int64_t height) {
  scale_with<BlockMeans>(scaling, Blocks{scaling.channels(), width, height});
}

}  // namespace kel::imgproc
