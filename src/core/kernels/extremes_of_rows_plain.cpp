#include <algorithm>

#include "core/kernels/extremes_of_rows.h"

namespace kel::imageprocess {

void extremes_of_rows_plain(uint64_t* lit, uint64_t* unlit, const uint8_t* const* rows,
                            int32_t count, int64_t width) {
  for (int64_t x = 0; x < width; ++x) {
    if (x % 64 == 0) lit[x / 64] = unlit[x / 64] = 0;
    const auto some = [&](auto is_so) {
      return uint64_t{std::any_of(rows, rows + count, [&](auto* row) { return is_so(row[x]); })};
    };
    lit[x / 64] |= some([](uint8_t value) { return value != 0; }) << (x % 64);
    unlit[x / 64] |= some([](uint8_t value) { return value != 255; }) << (x % 64);
  }
}

}  // namespace kel::imageprocess
