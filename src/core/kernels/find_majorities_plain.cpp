#include <algorithm>
#include <bit>

#include "core/kernels/find_majorities.h"

namespace kel::imageprocess {
namespace {

// Pixels that are set among the ksize ones from pixel `from` on, -64 < from < 64.
int32_t count_in_row(const uint64_t* words, int32_t from, int32_t ksize) {
  int32_t count = 0;
  for (int32_t x = from; x < from + ksize; ++x) {
    const int32_t place = x + 64;
    count += static_cast<int32_t>(words[place / 64 - 1] >> (place % 64) & 1);
  }
  return count;
}

}  // namespace

void find_majorities_plain(uint64_t* to, int64_t to_row_words, const WordColumn& column,
                           int32_t first, int32_t end) {
  const int32_t radius = column.ksize / 2;
  for (int32_t y = first; y < end; ++y, to += to_row_words) {
    *to = 0;
    for (int32_t x = 0; x < 64; ++x) {
      int32_t count = 0;
      for (int32_t i = y - radius; i <= y + radius; ++i) {
        const int32_t row = std::clamp(i, 0, column.rows - 1);
        count += count_in_row(column.words + row * column.row_words, x - radius, column.ksize);
      }
      if (2 * count > column.ksize * column.ksize) *to |= uint64_t{1} << x;
    }
  }
}

}  // namespace kel::imageprocess
