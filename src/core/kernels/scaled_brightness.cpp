#include "core/kernels/vector_targets.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "core/kernels/scaled_brightness.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

#include "core/kernels/scaled_brightness.h"

HWY_BEFORE_NAMESPACE();
namespace kel::imgproc::HWY_NAMESPACE {

#if HWY_TARGET == HWY_SCALAR || HWY_TARGET == HWY_EMU128  // no vectors

void scaled_brightness(int16_t* to, const BrightnessRows& rows, const BrightnessColumns& columns,
                       int64_t first, int64_t count) {
  scaled_brightness_plain(to, rows, columns, first, count);
}

#else

namespace {

namespace hn = hwy::HWY_NAMESPACE;

using Bytes = hn::CappedTag<uint8_t, 32>;
using D16 = hn::Repartition<int16_t, Bytes>;
using D32 = hn::Repartition<int32_t, Bytes>;
constexpr int64_t kColumns = static_cast<int64_t>(hn::MaxLanes(Bytes())) / 8;  // in a vector

// Eight bytes for each of two columns.
HWY_INLINE hn::Vec<hn::CappedTag<uint8_t, 16> > load_two(const uint8_t* row,
                                                         const int32_t* starts) {
  const hn::CappedTag<uint8_t, 8> half;
  return hn::Combine(hn::CappedTag<uint8_t, 16>(), hn::LoadU(half, row + starts[1]),
                     hn::LoadU(half, row + starts[0]));
}

template <class D = Bytes>
HWY_INLINE hn::Vec<D> load(const uint8_t* row, const int32_t* starts) {
  if constexpr (hn::MaxLanes(D()) == 16) {
    return load_two(row, starts);
  } else {
    return hn::Combine(D(), load_two(row, starts + 2), load_two(row, starts));
  }
}

// Three channels of each column, and 0: near * 2048 + (near - far) * -weight, without the four
// lowest bits, times the weight of the row.
HWY_INLINE hn::Vec<D16> weighted(const uint8_t* row, const int32_t* starts, hn::Vec<Bytes> places,
                                 hn::Vec<D16> weights, hn::Vec<D16> row_weight) {
  const D16 d;
  const hn::RebindToUnsigned<D16> du;
  const auto pairs = hn::BitCast(du, hn::TableLookupBytesOr0(load(row, starts), places));
  const auto near = hn::ShiftRight<1>(hn::ShiftLeft<8>(pairs));  // times 128
  const auto far = hn::ShiftLeft<7>(hn::ShiftRight<8>(pairs));
  const auto step = hn::MulHigh(hn::BitCast(d, hn::Sub(near, far)), weights);
  return hn::MulHigh(hn::Add(hn::BitCast(d, near), step), row_weight);
}

// Tables and rows, copied, because vectors that are stored might alias the originals.
class Squares {
 public:
  HWY_INLINE Squares(const BrightnessRows& rows, const BrightnessColumns& columns, int64_t first)
      : starts_(columns.starts.data() + first),
        places_(columns.places.data() + BrightnessColumns::kBytes * first),
        weights_(columns.weights.data() + 4 * first),
        upper_(rows.upper),
        lower_(rows.lower),
        upper_weight_(hn::Set(D16(), rows.upper_weight)),
        lower_weight_(hn::Set(D16(), rows.lower_weight)) {}

  // The squares of the three channels of each column of a vector, and 0: the first two added up,
  // then the third.
  HWY_INLINE hn::Vec<D32> of(int64_t x) const {
    const Bytes d8;
    const D16 d;
    const hn::RebindToUnsigned<D32> du;
    alignas(16) static constexpr uint8_t kSecond[16] = {0, 0, 0, 0, 0, 0, 0, 0,
                                                        8, 8, 8, 8, 8, 8, 8, 8};
    const auto places =
        hn::Or(hn::LoadU(d8, places_ + BrightnessColumns::kBytes * x), hn::LoadDup128(d8, kSecond));
    const auto weights = hn::LoadU(d, weights_ + 4 * x);
    const auto upper = weighted(upper_, starts_ + x, places, weights, upper_weight_);
    const auto lower = weighted(lower_, starts_ + x, places, weights, lower_weight_);
    const auto sum = hn::Add(hn::Add(upper, lower), hn::Set(d, int16_t{2}));
    const auto value = hn::BitCast(hn::RebindToUnsigned<D16>(), hn::ShiftRight<2>(sum));
    const auto square = hn::BitCast(du, hn::Mul(value, value));
    const auto low = hn::And(square, hn::Set(du, 0xFFFFU));
    return hn::BitCast(D32(), hn::Add(low, hn::ShiftRight<16>(square)));
  }

 private:
  const int32_t* starts_;
  const uint8_t* places_;
  const int16_t* weights_;
  const uint8_t* upper_;
  const uint8_t* lower_;
  hn::Vec<D16> upper_weight_;
  hn::Vec<D16> lower_weight_;
};

}  // namespace

void scaled_brightness(int16_t* to, const BrightnessRows& rows, const BrightnessColumns& columns,
                       int64_t first, int64_t count) {
  const D32 d32;
  const hn::Rebind<float, D32> d_float;
  const hn::Rebind<int16_t, D32> narrow;
  const Squares squares(rows, columns, first);
  for (int64_t i = 0; i < count; i += 2 * kColumns) {
    const auto left = squares.of(i);
    const auto right = squares.of(i + kColumns);
    const auto sum = hn::Add(hn::ConcatEven(d32, right, left), hn::ConcatOdd(d32, right, left));
    const auto length = hn::ConvertTo(d32, hn::Sqrt(hn::ConvertTo(d_float, sum)));
    hn::StoreU(hn::DemoteTo(narrow, length), narrow, to + i);
  }
}

#endif

}  // namespace kel::imgproc::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace kel::imgproc {

HWY_EXPORT(scaled_brightness);

void scaled_brightness(int16_t* to, const BrightnessRows& rows, const BrightnessColumns& columns,
                       int64_t first, int64_t count) {
  HWY_DYNAMIC_DISPATCH(scaled_brightness)(to, rows, columns, first, count);
}

}  // namespace kel::imgproc
#endif
