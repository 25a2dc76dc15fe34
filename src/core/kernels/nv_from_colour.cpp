#include "core/kernels/vector_targets.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "core/kernels/nv_from_colour.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

#include "core/kernels/nv_from_colour.h"
#include "core/kernels/prefetch.h"
#include "core/kernels/three_bytes-inl.h"

HWY_BEFORE_NAMESPACE();
namespace kel::imageprocess::HWY_NAMESPACE {

#if HWY_TARGET == HWY_SCALAR || HWY_TARGET == HWY_EMU128  // no vectors

void nv_from_colour(uint8_t* const y[2], uint8_t* chroma, const uint8_t* const colour[2],
                    int64_t width, const ColourOrder& order) {
  nv_from_colour_plain(y, chroma, colour, width, order);
}

#else

namespace hn = hwy::HWY_NAMESPACE;

using D = Bytes;
using V = ByteVector;
using D16 = hn::Repartition<uint16_t, D>;
using V16 = hn::Vec<D16>;
constexpr int64_t kLanes = kByteLanes;

HWY_INLINE V16 all16(int value) { return hn::Set(D16(), static_cast<uint16_t>(value)); }

// The upper bytes of both in turn, that of `even` first.
HWY_INLINE V upper_bytes(V16 even, V16 odd) {
  return hn::BitCast(D(), hn::Or(hn::ShiftRight<8>(even), hn::And(odd, all16(0xFF00))));
}

#if HWY_TARGET <= HWY_SSE4  // the numbers of better instruction sets are smaller

// x86-64 has an instruction for sums of products of bytes. Pixels are spread to four bytes, with
// green once more in the last one: its factor for Y, 129, is too large for a signed byte.

#if HWY_TARGET <= HWY_AVX3
#define KEL_X86(name) _mm512_##name
#elif HWY_TARGET <= HWY_AVX2
#define KEL_X86(name) _mm256_##name
#else
#define KEL_X86(name) _mm_##name
#endif

using D32 = hn::Repartition<uint32_t, D>;
using Pixels = V[4];

// For each count of 16-byte blocks: where the 32-bit lanes of results belong that were narrowed
// twice within their blocks.
alignas(64) constexpr uint32_t kInOrder[3][16] = {
    {0, 1, 2, 3}, {0, 4, 1, 5, 2, 6, 3, 7}, {0, 4, 8, 12, 1, 5, 9, 13, 2, 6, 10, 14, 3, 7, 11, 15}};
alignas(16) constexpr uint8_t kSpread[2][16] = {
    {0, 1, 2, 1, 3, 4, 5, 4, 6, 7, 8, 7, 9, 10, 11, 10},
    {0, 1, 2, 1, 4, 5, 6, 5, 8, 9, 10, 9, 12, 13, 14, 13}};

template <int kBytes>
HWY_INLINE void load(const uint8_t* src, Pixels& pixels) {
  const D d;
  const V spread = hn::LoadDup128(d, kSpread[kBytes - 3]);
  HWY_UNROLL(4)
  for (int i = 0; i < 4; ++i) {
    pixels[i] = kBytes == 3 ? load_three_bytes(src, i, spread)
                            : hn::TableLookupBytes(hn::LoadU(d, src + kLanes * i), spread);
  }
}

// Factors of the bytes of a pixel.
HWY_INLINE V factors(int first, int green, int last, int green_again) {
  const int bytes[4] = {first, green, last, green_again};
  uint32_t word = 0;
  for (int i = 0; i < 4; ++i) word |= (static_cast<uint32_t>(bytes[i]) & 0xFF) << (8 * i);
  return hn::BitCast(D(), hn::Set(D32(), word));
}

// Halves of two products each stay below 2^15.
struct Factors {
  explicit Factors(const ColourOrder& order)
      : luma(order.red_first ? factors(66, 49, 25, 80) : factors(25, 80, 66, 49)) {
    const V u = order.red_first ? factors(-38, -74, 112, 0) : factors(112, -74, -38, 0);
    const V v = order.red_first ? factors(112, -94, -18, 0) : factors(-18, -94, 112, 0);
    first = order.v_first ? v : u;
    second = order.v_first ? u : v;
  }
  V luma, first, second;
};

HWY_INLINE auto weigh(V pixels, V by) {
  const V pairs{KEL_X86(maddubs_epi16)(pixels.raw, by.raw)};
  const V16 ones = all16(1);
  return KEL_X86(madd_epi16)(pairs.raw, ones.raw);
}

HWY_INLINE V luma(const Pixels& p, const Factors& by) {
  const auto rounded = [&](V a, V b) {
    const V16 sums{KEL_X86(packus_epi32)(weigh(a, by.luma), weigh(b, by.luma))};
    return hn::ShiftRight<8>(hn::Add(sums, all16(0x1080)));
  };
  const V16 lower = rounded(p[0], p[1]);
  const V16 upper = rounded(p[2], p[3]);
  return permute_32(V{KEL_X86(packus_epi16)(lower.raw, upper.raw)}, kInOrder[kLanes / 32]);
}

// The mean of every two neighbouring pixels.
HWY_INLINE V halve(V a, V b) {
  const hn::Repartition<float, D> d;
  using F = hn::Vec<decltype(d)>;
  const F x = hn::BitCast(d, a);
  const F y = hn::BitCast(d, b);
  const F left{KEL_X86(shuffle_ps)(x.raw, y.raw, 0x88)};
  const F right{KEL_X86(shuffle_ps)(x.raw, y.raw, 0xDD)};
  return hn::AverageRound(hn::BitCast(D(), left), hn::BitCast(D(), right));
}

HWY_INLINE V chroma_pairs(const Pixels& a, const Pixels& b, const Factors& by) {
  const V lower = halve(hn::AverageRound(a[0], b[0]), hn::AverageRound(a[1], b[1]));
  const V upper = halve(hn::AverageRound(a[2], b[2]), hn::AverageRound(a[3], b[3]));
  const auto part = [&](V f) {
    const V16 sums{KEL_X86(packs_epi32)(weigh(lower, f), weigh(upper, f))};
    return hn::Add(sums, all16(0x8000));
  };
  return permute_32(upper_bytes(part(by.first), part(by.second)), kInOrder[kLanes / 32]);
}

#undef KEL_X86

#else  // colours apart, two pixels in 16 bits

using Pixels = V[3];

template <int kBytes>
HWY_INLINE void load(const uint8_t* src, Pixels& pixels) {
  V alpha;
  if constexpr (kBytes == 3) {
    hn::LoadInterleaved3(D(), src, pixels[0], pixels[1], pixels[2]);
  } else {
    hn::LoadInterleaved4(D(), src, pixels[0], pixels[1], pixels[2], alpha);
  }
}

struct Factors {
  explicit Factors(const ColourOrder& order)
      : blue(order.red_first ? 2 : 0), red(2 - blue), v_first(order.v_first) {}
  int blue, red;
  bool v_first;
};

// Sums of odd pixels; those of even ones, where the other half is in the way, by difference.
HWY_INLINE V luma(const Pixels& p, const Factors& at) {
  const auto sums = [&](auto lane) {
    const V16 b = hn::Mul(lane(p[at.blue]), all16(25));
    const V16 g = hn::Mul(lane(p[1]), all16(129));
    return hn::Add(hn::Add(b, g), hn::Mul(lane(p[at.red]), all16(66)));
  };
  const V16 both = sums([](V v) { return hn::BitCast(D16(), v); });
  const V16 odd = sums([](V v) { return hn::ShiftRight<8>(hn::BitCast(D16(), v)); });
  const V16 even = hn::Sub(both, hn::ShiftLeft<8>(odd));
  return upper_bytes(hn::Add(even, all16(0x1080)), hn::Add(odd, all16(0x1080)));
}

HWY_INLINE V16 halve(V a, V b) {
  const V16 both = hn::BitCast(D16(), hn::AverageRound(a, b));
  return hn::AverageRound(hn::And(both, all16(0xFF)), hn::ShiftRight<8>(both));
}

HWY_INLINE V chroma_pairs(const Pixels& p, const Pixels& q, const Factors& at) {
  const V16 g = halve(p[1], q[1]);
  const V16 b = hn::Sub(halve(p[at.blue], q[at.blue]), g);
  const V16 r = hn::Sub(halve(p[at.red], q[at.red]), g);
  const auto part = [](V16 add, int factor, V16 subtract, int by) {
    const V16 sum = hn::Sub(hn::Mul(add, all16(factor)), hn::Mul(subtract, all16(by)));
    return hn::Add(sum, all16(0x8000));
  };
  const V16 u = part(b, 112, r, 38);
  const V16 v = part(r, 112, b, 18);
  return at.v_first ? upper_bytes(v, u) : upper_bytes(u, v);
}

#endif

template <int kBytes>
void convert(uint8_t* const y[2], uint8_t* chroma, const uint8_t* const colour[2], int64_t width,
             const ColourOrder& order) {
  const Factors factors(order);
  for (int64_t x = 0; x < width; x += kLanes) {
    const int64_t at = HWY_MIN(x, width - kLanes);  // the last vector ends with the row
    for (int i = 0; i < 2; ++i) {
      prefetch_ahead(colour[i] + at * kBytes, kLanes * kBytes);
      prefetch_ahead(y[i] + at, kLanes);
    }
    Pixels upper;
    Pixels lower;
    load<kBytes>(colour[0] + at * kBytes, upper);
    load<kBytes>(colour[1] + at * kBytes, lower);
    hn::StoreU(luma(upper, factors), D(), y[0] + at);
    hn::StoreU(luma(lower, factors), D(), y[1] + at);
    hn::StoreU(chroma_pairs(upper, lower, factors), D(), chroma + at);
  }
}

void nv_from_colour(uint8_t* const y[2], uint8_t* chroma, const uint8_t* const colour[2],
                    int64_t width, const ColourOrder& order) {
  const int64_t done = width < kLanes ? 0 : width & ~int64_t{1};
  if (done > 0) {
    order.bytes_per_pixel == 3 ? convert<3>(y, chroma, colour, done, order)
                               : convert<4>(y, chroma, colour, done, order);
  }
  if (done == width) return;
  uint8_t* const rest[2] = {y[0] + done, y[1] + done};
  const int64_t bytes = done * order.bytes_per_pixel;
  const uint8_t* const from[2] = {colour[0] + bytes, colour[1] + bytes};
  nv_from_colour_plain(rest, chroma + done, from, width - done, order);
}

#endif

}  // namespace kel::imageprocess::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace kel::imageprocess {

HWY_EXPORT(nv_from_colour);

void nv_from_colour(uint8_t* const y[2], uint8_t* chroma, const uint8_t* const colour[2],
                    int64_t width, const ColourOrder& order) {
  HWY_DYNAMIC_DISPATCH(nv_from_colour)(y, chroma, colour, width, order);
}

}  // namespace kel::imageprocess
#endif
