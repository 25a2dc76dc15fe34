// What the kernels of Gaussians share. Included once for each instruction set.
#if defined(KEL_GAUSSIAN_INL) == defined(HWY_TARGET_TOGGLE)
#ifdef KEL_GAUSSIAN_INL
#undef KEL_GAUSSIAN_INL
#else
#define KEL_GAUSSIAN_INL
#endif

#include <hwy/highway.h>

#include <cstdint>

HWY_BEFORE_NAMESPACE();
namespace kel::imageprocess::HWY_NAMESPACE {

#if HWY_TARGET != HWY_SCALAR && HWY_TARGET != HWY_EMU128

namespace hn = hwy::HWY_NAMESPACE;

using Words = hn::CappedTag<uint16_t, 32>;
using SignedWords = hn::RebindToSigned<Words>;
using Sums = hn::RepartitionToWide<SignedWords>;
using Bytes = hn::Rebind<uint8_t, Words>;
inline constexpr auto kLanes = static_cast<int64_t>(hn::MaxLanes(Words()));

// sum + a[2i] * b[2i] + a[2i + 1] * b[2i + 1]
HWY_INLINE hn::Vec<Sums> add_products(hn::Vec<Sums> sum, hn::Vec<SignedWords> a,
                                      hn::Vec<SignedWords> b) {
  const Sums d;
#if HWY_ARCH_X86
  auto unused = sum;
  return hn::ReorderWidenMulAccumulate(d, a, b, sum, unused);
#else
  const auto even = [&](auto v) HWY_ATTR {
    return hn::ShiftRight<16>(hn::ShiftLeft<16>(hn::BitCast(d, v)));
  };
  const auto odd = [&](auto v) HWY_ATTR { return hn::ShiftRight<16>(hn::BitCast(d, v)); };
  return hn::Add(hn::Add(sum, hn::Mul(even(a), even(b))), hn::Mul(odd(a), odd(b)));
#endif
}

#endif

}  // namespace kel::imageprocess::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();
#endif
