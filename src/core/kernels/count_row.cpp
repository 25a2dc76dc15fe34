#include "core/kernels/vector_targets.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "core/kernels/count_row.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

#include "core/kernels/count_row.h"

HWY_BEFORE_NAMESPACE();
namespace kel::imageprocess::HWY_NAMESPACE {

namespace hn = hwy::HWY_NAMESPACE;

using Bytes = hn::CappedTag<uint8_t, 64>;

// Sums over 1, 2, 4 ... pixels are doubled up; those for the binary digits of ksize, side by side,
// cover the window.
void count_row(uint8_t* counts, const uint8_t* padded, int32_t width, int32_t ksize, uint8_t value,
               uint8_t* scratch) {
  const Bytes d;
  const auto step = static_cast<int64_t>(hn::Lanes(d));
  const auto wanted = hn::Set(d, value);
  const auto one = hn::Set(d, uint8_t{1});
  int64_t reach = width + ksize;
  for (int64_t x = 0; x < reach; x += step) {
    const auto equal = hn::Eq(hn::LoadU(d, padded + x), wanted);
    hn::StoreU(hn::IfThenElseZero(equal, one), d, scratch + x);
  }
  int64_t at = 0;
  for (int64_t run = 1; run <= ksize; run *= 2) {
    if ((ksize & run) != 0) {
      for (int64_t x = 0; x < width; x += step) {
        const auto sum = hn::LoadU(d, scratch + at + x);
        const auto old = run == 1 ? hn::Zero(d) : hn::LoadU(d, counts + x);
        hn::StoreU(hn::Add(old, sum), d, counts + x);
      }
      at += run;
    }
    reach -= run;
    for (int64_t x = 0; 2 * run <= ksize && x < reach; x += step) {
      const auto left = hn::LoadU(d, scratch + x);
      hn::StoreU(hn::Add(left, hn::LoadU(d, scratch + run + x)), d, scratch + x);
    }
  }
}

}  // namespace kel::imageprocess::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace kel::imageprocess {

HWY_EXPORT(count_row);

void count_row(uint8_t* counts, const uint8_t* padded, int32_t width, int32_t ksize, uint8_t value,
               uint8_t* scratch) {
  HWY_DYNAMIC_DISPATCH(count_row)(counts, padded, width, ksize, value, scratch);
}

}  // namespace kel::imageprocess
#endif
