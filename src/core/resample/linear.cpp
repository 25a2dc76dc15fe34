#include "core/kernels/resize_linear.h"
#include "core/resample/scaling.h"

namespace kel::imgproc {
namespace {

using PlaceFunction = Place (*)(const Axis&, int64_t);

class Linear {
 public:
  Linear(const Scaling& scaling, Columns columns, PlaceFunction place)
      : scaling_(scaling), columns_(columns), place_(place) {
    const auto count = static_cast<size_t>(scaling.channels() * (columns.end - columns.first));
    std::vector<int32_t> offsets(2 * count);
    across_.weights.resize(count);
    for (int64_t x = columns.first; x < columns.end; ++x) {
      set_column(offsets, x, static_cast<size_t>(scaling.channels() * (x - columns.first)));
    }
    across_.pairs = plan_byte_gather(offsets, SourceRows::gathered_bytes(scaling.src));
    across_.weights.resize(static_cast<size_t>(8 * across_.pairs.blocks));
  }

  void run(int64_t top, int64_t end) const {
    const int64_t count = scaling_.channels() * (columns_.end - columns_.first);
    RecentRows<int16_t> recent(scaling_, 2, row_length());
    const auto make = [&](const RowsAcross<int16_t>& rows) { scale_across(rows); };
    for (int64_t y = top; y < end; ++y) {
      const auto [first, fraction] = place_(scaling_.y, y);
      const auto weights = linear_weights(fraction);
      const int64_t wanted = last_wanted_row(scaling_.y, first + 1, 2);
      const LinearRows rows{recent.row(first, wanted, make), recent.row(first + 1, wanted, make),
                            weights[0], weights[1]};
      linear_down(scaling_.dst_at(columns_.first, y), rows, count);
    }
  }

 private:
  // An element whose weights do not sum to 1.
  struct Uneven {
    size_t element;
    int32_t left;
    int32_t right;
    std::array<int16_t, 2> weights;
  };

  void set_column(std::vector<int32_t>& offsets, int64_t x, size_t element) {
    Place place = place_(scaling_.x, x);
    if (place.first < 0) place = {0, 0};
    if (place.first >= scaling_.x.src - 1) place = {scaling_.x.src - 1, 0};
    const auto weights = linear_weights(place.fraction);
    const int channels = scaling_.channels();
    auto left = static_cast<int32_t>(place.first * channels);
    int32_t right = place.first == scaling_.x.src - 1 ? left : left + channels;
    const bool right_is_near = weights[1] >= 1024;
    const auto weight = static_cast<int16_t>(-32 * std::min<int>(weights[1], 2048 - weights[1]));
    const bool is_uneven = weights[0] + weights[1] != 1 << kWeightBits;
    for (int i = 0; i < channels; ++i, ++left, ++right, ++element) {
      if (is_uneven) uneven_.push_back({element, left, right, weights});
      offsets[2 * element] = right_is_near ? right : left;
      offsets[2 * element + 1] = right_is_near ? left : right;
      across_.weights[element] = weight;
    }
  }

  // Of a row that was scaled across.
  int64_t row_length() const { return 8 * across_.pairs.blocks; }

  void scale_across(const RowsAcross<int16_t>& rows) const {
    linear_across(rows, across_);
    correct_uneven(rows);
  }

  void correct_uneven(const RowsAcross<int16_t>& rows) const {
    for (const auto& [element, left, right, weights] : uneven_) {
      for (size_t i = 0; i < static_cast<size_t>(rows.count); ++i) {
        const int sum = rows.from[i][left] * weights[0] + rows.from[i][right] * weights[1];
        rows.to[i][element] = static_cast<int16_t>(sum >> 4);
      }
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
