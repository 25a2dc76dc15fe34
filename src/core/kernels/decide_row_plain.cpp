#include "core/kernels/decide_row.h"

namespace kel::imageprocess {
namespace {

bool has_majority(const WindowCount& count, int32_t x, uint16_t majority) {
  count.sums[x] = static_cast<uint16_t>(count.sums[x] + count.entering[x] - count.leaving[x]);
  return count.sums[x] >= majority;
}

}  // namespace

void decide_row_plain(const RowDecision& row) {
  for (int32_t x = 0; x < row.width; ++x) {
    const bool is_full = has_majority(row.fulls, x, row.majority);
    row.result[x] = is_full ? 255 : 0;
    if (row.zeros.sums == nullptr) continue;
    const bool is_zero = has_majority(row.zeros, x, row.majority);
    row.open[x] = is_full || is_zero ? 0 : 255;
  }
}

}  // namespace kel::imageprocess
