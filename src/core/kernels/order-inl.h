// What medians by minima and maxima are made of. Included once for each instruction set.
#if defined(KEL_ORDER_INL) == defined(HWY_TARGET_TOGGLE)
#ifdef KEL_ORDER_INL
#undef KEL_ORDER_INL
#else
#define KEL_ORDER_INL
#endif

#include <hwy/highway.h>

HWY_BEFORE_NAMESPACE();
namespace kel::imageprocess::HWY_NAMESPACE {

template <typename V>
HWY_INLINE void order(V& low, V& high) {
  const V least = hwy::HWY_NAMESPACE::Min(low, high);
  high = hwy::HWY_NAMESPACE::Max(low, high);
  low = least;
}

}  // namespace kel::imageprocess::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();
#endif
