#include "core/kernels/vector_targets.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "core/kernels/transpose.cpp"
#include <hwy/cache_control.h>
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

#include <cstdlib>

#include "core/kernels/transpose.h"

HWY_BEFORE_NAMESPACE();
namespace kel::imageprocess::HWY_NAMESPACE {

#if HWY_TARGET == HWY_SCALAR || HWY_TARGET == HWY_EMU128  // no vectors

void transpose(uint8_t* dst, ptrdiff_t dst_stride, const uint8_t* src, ptrdiff_t src_stride,
               int64_t width, int64_t height, int element_bytes) {
  transpose_plain(dst, dst_stride, src, src_stride, width, height, element_bytes);
}

#else

namespace hn = hwy::HWY_NAMESPACE;

// One or two blocks of 16 bytes, the second one from rows further down.
template <typename T>
using Vectors = hn::CappedTag<T, 32 / sizeof(T)>;

template <typename T>
constexpr int block_count() {
  return static_cast<int>(hn::MaxLanes(Vectors<T>()) * sizeof(T) / 16);
}

// 16 bytes from each of the rows that share a register.
template <typename T>
HWY_INLINE hn::Vec<Vectors<T> > load_blocks(const uint8_t* row, ptrdiff_t to_next_block) {
  const hn::CappedTag<T, 16 / sizeof(T)> d16;
  const auto first = hn::LoadU(d16, reinterpret_cast<const T*>(row));
  if constexpr (block_count<T>() == 1) {
    return first;
  } else {
    const auto second = hn::LoadU(d16, reinterpret_cast<const T*>(row + to_next_block));
    return hn::Combine(Vectors<T>(), second, first);
  }
}

// The two halves of a register, or the only one, to 16 bytes of one row each.
template <typename V>
HWY_INLINE void store_blocks(uint8_t* row, ptrdiff_t to_next_block, V v) {
  const hn::CappedTag<uint8_t, 16> d16;
  if constexpr (sizeof(V) == 16) {
    hn::StoreU(v, d16, row);
  } else {
    hn::StoreU(hn::LowerHalf(d16, v), d16, row);
    hn::StoreU(hn::UpperHalf(d16, v), d16, row + to_next_block);
  }
}

// Transposes kSide x kSide elements in every 16-byte block: each round interleaves the first half
// of the registers with the second, and after log2(kSide) rounds rows have become columns.
template <int kSide, typename T, typename V>
HWY_INLINE void transpose_registers(V (&v)[kSide]) {
  const Vectors<T> d;
  HWY_UNROLL(4)
  for (int round = 1; round < kSide; round *= 2) {
    V woven[kSide];
    HWY_UNROLL(8)
    for (int i = 0; i < kSide / 2; ++i) {
      woven[2 * i] = hn::InterleaveLower(d, v[i], v[i + kSide / 2]);
      woven[2 * i + 1] = hn::InterleaveUpper(d, v[i], v[i + kSide / 2]);
    }
    HWY_UNROLL(16)
    for (int i = 0; i < kSide; ++i) v[i] = woven[i];
  }
}

// Blocks of elements of 1, 2 or 4 bytes.
template <typename T>
struct Block {
  static constexpr int kColumns = 16 / sizeof(T);
  static constexpr int kRows = kColumns * block_count<T>();
  static constexpr int kBytes = sizeof(T);

  static HWY_INLINE void transpose(uint8_t* dst, ptrdiff_t dst_stride, const uint8_t* src,
                                   ptrdiff_t src_stride) {
    hn::Vec<Vectors<T> > v[kColumns];
    HWY_UNROLL(16)
    for (int i = 0; i < kColumns; ++i) {
      v[i] = load_blocks<T>(src + i * src_stride, kColumns * src_stride);
    }
    transpose_registers<kColumns, T>(v);
    HWY_UNROLL(16)
    for (int i = 0; i < kColumns; ++i) {
      hn::StoreU(v[i], Vectors<T>(), reinterpret_cast<T*>(dst + i * dst_stride));
    }
  }
};

// Blocks of elements of 3 bytes. Rows are spread to 4 bytes an element, transposed as such and
// packed again while they are stored. A block reads and writes nothing beyond its own bytes.
struct Block3 {
  static constexpr int kColumns = 8;
  static constexpr int kRows = 16;
  static constexpr int kBytes = 3;
  using D = Vectors<uint8_t>;
  using V = hn::Vec<D>;

  // The second 16 bytes start at byte 8, not 12, to end with the eighth element.
  static constexpr uint8_t kSpread[32] = {0, 1, 2, 0, 3, 4, 5, 0, 6,  7,  8,  0, 9,  10, 11, 0,
                                          4, 5, 6, 0, 7, 8, 9, 0, 10, 11, 12, 0, 13, 14, 15, 0};
  // Four lots of four elements, 12 bytes each, laid out so that two neighbours give 16 bytes.
  static constexpr uint8_t kPack[4][16] = {
      {0, 0, 0, 0, 0, 1, 2, 4, 5, 6, 8, 9, 10, 12, 13, 14},
      {0, 1, 2, 4, 0, 0, 0, 0, 5, 6, 8, 9, 10, 12, 13, 14},
      {0, 1, 2, 4, 5, 6, 8, 9, 0, 0, 0, 0, 10, 12, 13, 14},
      {0, 1, 2, 4, 5, 6, 8, 9, 10, 12, 13, 14, 0, 0, 0, 0},
  };

  static HWY_INLINE void transpose(uint8_t* dst, ptrdiff_t dst_stride, const uint8_t* src,
                                   ptrdiff_t src_stride) {
    for (int part = 0; part < 2; part += block_count<uint8_t>()) {
      transpose_part(dst + 4 * part * dst_stride, dst_stride, src + 8 * part, src_stride,
                     hn::LoadU(D(), kSpread + 16 * part));
    }
  }

 private:
  static HWY_INLINE void transpose_part(uint8_t* dst, ptrdiff_t dst_stride, const uint8_t* src,
                                        ptrdiff_t src_stride, V spread) {
    const Vectors<uint32_t> d32;
    hn::Vec<Vectors<uint32_t> > v[4][4];
    HWY_UNROLL(4)
    for (int lot = 0; lot < 4; ++lot) {
      HWY_UNROLL(4)
      for (int i = 0; i < 4; ++i) {
        const V row = load_blocks<uint8_t>(src + (4 * lot + i) * src_stride, 8);
        v[lot][i] = hn::BitCast(d32, hn::TableLookupBytes(row, spread));
      }
      transpose_registers<4, uint32_t>(v[lot]);
    }
    HWY_UNROLL(4)
    for (int i = 0; i < 4; ++i) {
      store_row(dst + i * dst_stride, 4 * dst_stride, pack(v[0][i], 0), pack(v[1][i], 1),
                pack(v[2][i], 2), pack(v[3][i], 3));
    }
  }

  static HWY_INLINE V pack(hn::Vec<Vectors<uint32_t> > elements, int lot) {
    const D d;
    return hn::TableLookupBytes(hn::BitCast(d, elements), hn::LoadDup128(d, kPack[lot]));
  }

  static HWY_INLINE void store_row(uint8_t* row, ptrdiff_t to_next_block, V lot0, V lot1, V lot2,
                                   V lot3) {
    const D d;
    store_blocks(row, to_next_block, hn::CombineShiftRightBytes<4>(d, lot1, lot0));
    store_blocks(row + 16, to_next_block, hn::CombineShiftRightBytes<8>(d, lot2, lot1));
    store_blocks(row + 32, to_next_block, hn::CombineShiftRightBytes<12>(d, lot3, lot2));
  }
};

// Walks the cache lines of a rectangle of src row by row and asks for them before they are read.
class LinesToCome {
 public:
  LinesToCome(const uint8_t* row, ptrdiff_t stride, int64_t row_bytes, int64_t rows)
      : row_(row), stride_(stride), row_bytes_(row_bytes), rows_(rows) {}

  HWY_INLINE void prefetch(int count) {
    for (int i = 0; i < count && rows_ > 0; ++i) {
      hwy::Prefetch(row_ + at_);
      at_ += kLine;
      if (at_ < row_bytes_) continue;
      at_ = 0;
      if (--rows_ > 0) row_ += stride_;
    }
  }

  static constexpr int64_t kLine = 64;

 private:
  const uint8_t* row_;
  ptrdiff_t stride_;
  int64_t row_bytes_;
  int64_t rows_;
  int64_t at_ = 0;
};

// Both sides of a grid that exceeds the caches have to be met in long runs of memory, or every line
// is waited for and every page looked up for it alone. So tiles are wide in src, where the lines of
// the next tile are fetched row by row meanwhile, and as long in dst. Within a tile a few rows of
// dst are written at a time, from end to end, while the lines of the following ones are fetched.
//
// 1920x1080 elements of 4 bytes take 1.4 to 1.7 times as long as a copy this way, without
// fetching ahead 6 to 12 times, with runs of 512 bytes in dst 1.8 to 2.6 times. A tile has 256 KB
// at most.
template <typename B>
class Tiles {
 public:
  Tiles(uint8_t* dst, ptrdiff_t dst_stride, const uint8_t* src, ptrdiff_t src_stride, int64_t width,
        int64_t height)
      : dst_(dst),
        dst_stride_(dst_stride),
        src_(src),
        src_stride_(src_stride),
        width_(width),
        height_(height) {}

  HWY_INLINE void transpose() {
    for (int64_t top = 0; top < height_; top += kRows) {
      for (int64_t left = 0; left < width_; left += kColumns) transpose_tile(left, top);
    }
  }

 private:
  static constexpr int64_t kColumns = 512 / B::kBytes / 16 * 16;
  static constexpr int64_t kRows = (B::kBytes == 1 ? 512 : 1024) / B::kBytes / B::kRows * B::kRows;

  // Rows of dst at a time. Of bytes that are in the second cache anyway, whole lines of src are
  // better taken at once.
  HWY_INLINE int64_t group() const {
    const bool is_small = B::kBytes == 1 && width_ * height_ <= 400 << 10;
    return is_small ? kColumns : HWY_MAX(8, B::kColumns);
  }

  HWY_INLINE LinesToCome lines_after(int64_t left, int64_t top) const {
    const bool is_last = left + kColumns >= width_;
    const int64_t x = is_last ? 0 : left + kColumns;
    const int64_t y = is_last ? top + kRows : top;
    if (y >= height_) return {src_, 0, 0, 0};
    return {src_ + y * src_stride_ + x * B::kBytes, src_stride_,
            HWY_MIN(kColumns, width_ - x) * B::kBytes, HWY_MIN(kRows, height_ - y)};
  }

  HWY_INLINE void transpose_tile(int64_t left, int64_t top) const {
    LinesToCome lines = lines_after(left, top);
    const int64_t right = HWY_MIN(left + kColumns, width_);
    for (int64_t x = left; x < right; x += group()) {
      transpose_group(x, HWY_MIN(x + group(), right), top, lines);
    }
  }

  // Blocks that would pass the end are moved back and overlap the ones before.
  HWY_INLINE void transpose_group(int64_t left, int64_t right, int64_t top,
                                  LinesToCome& lines) const {
    constexpr int kLines = (B::kColumns * B::kRows * B::kBytes + 63) / LinesToCome::kLine;
    const int64_t bottom = HWY_MIN(top + kRows, height_);
    for (int64_t row = top; row < bottom; row += B::kRows) {
      const int64_t y = HWY_MIN(row, height_ - B::kRows);
      prefetch_group(right, y);
      for (int64_t column = left; column < right; column += B::kColumns) {
        const int64_t x = HWY_MIN(column, width_ - B::kColumns);
        lines.prefetch(kLines);
        B::transpose(dst_ + x * dst_stride_ + y * B::kBytes, dst_stride_,
                     src_ + y * src_stride_ + x * B::kBytes, src_stride_);
      }
    }
  }

  HWY_INLINE void prefetch_group(int64_t first, int64_t y) const {
    const int64_t end = HWY_MIN(first + group(), width_);
    for (int64_t x = first; x < end; ++x) {
      hwy::Prefetch(dst_ + x * dst_stride_ + y * B::kBytes);
    }
  }

  uint8_t* dst_;
  ptrdiff_t dst_stride_;
  const uint8_t* src_;
  ptrdiff_t src_stride_;
  int64_t width_;
  int64_t height_;
};

template <typename B>
void transpose_with(uint8_t* dst, ptrdiff_t dst_stride, const uint8_t* src, ptrdiff_t src_stride,
                    int64_t width, int64_t height) {
  // If rows of dst overlap, because the pitch is too small, the order of writing is visible.
  const bool overlaps = std::abs(dst_stride) < height * B::kBytes;
  if (width < B::kColumns || height < B::kRows || overlaps) {
    return transpose_plain(dst, dst_stride, src, src_stride, width, height, B::kBytes);
  }
  Tiles<B>(dst, dst_stride, src, src_stride, width, height).transpose();
}

void transpose(uint8_t* dst, ptrdiff_t dst_stride, const uint8_t* src, ptrdiff_t src_stride,
               int64_t width, int64_t height, int element_bytes) {
  switch (element_bytes) {
    case 1:
      return transpose_with<Block<uint8_t> >(dst, dst_stride, src, src_stride, width, height);
    case 2:
      return transpose_with<Block<uint16_t> >(dst, dst_stride, src, src_stride, width, height);
    case 4:
      return transpose_with<Block<uint32_t> >(dst, dst_stride, src, src_stride, width, height);
    default:
      return transpose_with<Block3>(dst, dst_stride, src, src_stride, width, height);
  }
}

#endif

}  // namespace kel::imageprocess::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace kel::imageprocess {

HWY_EXPORT(transpose);

void transpose(uint8_t* dst, ptrdiff_t dst_stride, const uint8_t* src, ptrdiff_t src_stride,
               int64_t width, int64_t height, int element_bytes) {
  HWY_DYNAMIC_DISPATCH(transpose)
  (dst, dst_stride, src, src_stride, width, height, element_bytes);
}

}  // namespace kel::imageprocess
#endif
