// Bilinear enlargement of gray rows that are mostly of one value: chunks of pixels that lie between
// equal ones are filled, the others are computed.
#pragma once

#include <cstdint>
#include <vector>

#include "core/kernels/resize_linear.h"

namespace kel::imgproc {

// A pixel of the result whose weights do not add up to 2048.
struct UnevenColumn {
  int64_t x;
  int32_t left;  // columns of the source
  int32_t right;
  int32_t left_weight;
  int32_t right_weight;
};

// The columns of an enlargement, in chunks.
struct EnlargedColumns {
  static constexpr int64_t kChunk = 64;  // pixels of the result

  int64_t width = 0;
  LinearColumns pairs;                // each block of pairs is found in one window
  std::vector<int32_t> places;        // a column of the source that a chunk lies beside
  std::vector<UnevenColumn> uneven;   // from left to right
  std::vector<int64_t> first_uneven;  // of each chunk, and of the one behind the last
};

// Two rows of the source and their weights. Their chunks are mixed where any of the bits is set; in
// the others up to the next mixed one each row has one value.
struct EnlargedRow {
  const uint8_t* upper;
  const uint8_t* lower;
  int16_t upper_weight;
  int16_t lower_weight;
  const uint64_t* upper_mixed;
  const uint64_t* lower_mixed;
};

// The row of the result that lies between the two, as linear_across and linear_down make it.
void enlarge_row(uint8_t* dst, const EnlargedRow& row, const EnlargedColumns& columns);
// Reference version, which takes all chunks for mixed; results must match.
void enlarge_row_plain(uint8_t* dst, const EnlargedRow& row, const EnlargedColumns& columns);

// Sets bit x % 64 of word x / 64 where row[x] and row[x + 1] differ; row has `count` bytes.
void find_changes(uint64_t* bits, const uint8_t* row, int64_t count);
void find_changes_plain(uint64_t* bits, const uint8_t* row, int64_t count);

// One pixel, from what the two rows have there scaled across.
inline uint8_t blended(int32_t upper, int32_t lower, const EnlargedRow& row) {
  const int32_t sum = (upper * row.upper_weight >> 16) + (lower * row.lower_weight >> 16);
  return static_cast<uint8_t>((sum + 2) >> 2);
}

inline uint8_t uneven_pixel(const UnevenColumn& column, const EnlargedRow& row) {
  const auto across = [&](const uint8_t* from) {
    return (from[column.left] * column.left_weight + from[column.right] * column.right_weight) >> 4;
  };
  return blended(across(row.upper), across(row.lower), row);
}

}  // namespace kel::imgproc
