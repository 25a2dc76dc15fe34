#include "core/kernels/resize_linear.h"
#include "core/resample/scaling.h"

namespace kel::imgproc {
namespace {

using PlaceFunction = Place (*)(const Axis&, int64_t);

constexpr int64_t kPadding = 16;  // elements that the kernels pass a row's end by

class Linear {
 public:
  Linear(const Scaling& scaling, Columns columns, PlaceFunction place)
      : scaling_(scaling), columns_(columns), place_(place) {
    std::vector<uint32_t> offsets;
    for (int64_t x = columns.first; x < columns.end; ++x) add_column(offsets, x);
    across_.pairs = plan_byte_gather(offsets, SourceRows::gathered_bytes(scaling.src));
    across_.weights.resize(static_cast<size_t>(8 * across_.pairs.blocks));
  }

  void run(int64_t top, int64_t end) const {
    const int64_t count = scaling_.channels() * (columns_.end - columns_.first);
    RecentRows<int16_t> recent(2, 8 * across_.pairs.blocks + kPadding);
    SourceRows source(scaling_.src);
    const auto across = [&](int64_t y) {
      const int64_t inside = std::clamp<int64_t>(y, 0, scaling_.y.src - 1);
      return recent.row(inside, [&](int16_t* out) { scale_across(out, source.row(inside)); });
    };
    for (int64_t y = top; y < end; ++y) {
      const Place place = place_(scaling_.y, y);
      const auto [upper_weight, lower_weight] = linear_weights(place.fraction);
      const int16_t* upper = across(place.first);
      const int16_t* lower = across(place.first + 1);
      linear_down(scaling_.dst_at(columns_.first, y), upper, lower, upper_weight, lower_weight,
                  count);
    }
  }

 private:
  // An element whose weights do not sum to 1.
  struct Uneven {
    size_t element;
    uint32_t left;
    uint32_t right;
    std::array<int16_t, 2> weights;
  };

  void add_column(std::vector<uint32_t>& offsets, int64_t x) {
    Place place = place_(scaling_.x, x);
    if (place.first < 0) place = {0, 0};
    if (place.first >= scaling_.x.src - 1) place = {scaling_.x.src - 1, 0};
    const auto weights = linear_weights(place.fraction);
    const auto channels = static_cast<uint32_t>(scaling_.channels());
    uint32_t left = channels * static_cast<uint32_t>(place.first);
    uint32_t right = place.first == scaling_.x.src - 1 ? left : left + channels;
    const bool right_is_near = weights[1] >= 1024;
    const auto weight = static_cast<int16_t>(-32 * std::min<int>(weights[1], 2048 - weights[1]));
    for (uint32_t i = 0; i < channels; ++i, ++left, ++right) {
      if (weights[0] + weights[1] != 1 << kWeightBits) {
        uneven_.push_back({across_.weights.size(), left, right, weights});
      }
      offsets.push_back(right_is_near ? right : left);
      offsets.push_back(right_is_near ? left : right);
      across_.weights.push_back(weight);
    }
  }

  void scale_across(int16_t* out, const uint8_t* row) const {
    linear_across(out, row, across_);
    for (const auto& [element, left, right, weights] : uneven_) {
      out[element] = static_cast<int16_t>((row[left] * weights[0] + row[right] * weights[1]) >> 4);
    }
  }

  const Scaling& scaling_;
  Columns columns_;
  PlaceFunction place_;
  LinearColumns across_;
  std::vector<Uneven> uneven_;
};

}  // namespace

void scale_linear(const Scaling& scaling, Place (*place)(const Axis&, int64_t)) {
  scale_with<Linear>(scaling, place);
}

}  // namespace kel::imgproc
