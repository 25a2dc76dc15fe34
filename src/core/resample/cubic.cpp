#include "core/kernels/resize_cubic.h"
#include "core/resample/scaling.h"

namespace kel::imgproc {
namespace {

constexpr int64_t kPadding = 16;  // elements that the kernels pass a row's end by

class Cubic {
 public:
  Cubic(const Scaling& scaling, Columns columns) : scaling_(scaling), columns_(columns) {
    const auto count = static_cast<size_t>(scaling.channels() * (columns.end - columns.first));
    std::vector<int32_t> offsets(4 * count);
    across_.even.resize(2 * count);
    across_.odd.resize(2 * count);
    for (int64_t x = columns.first; x < columns.end; ++x) {
      set_column(offsets, x, static_cast<size_t>(scaling.channels() * (x - columns.first)));
    }
    across_.quads = plan_byte_gather(offsets, SourceRows::gathered_bytes(scaling.src));
    across_.even.resize(static_cast<size_t>(8 * across_.quads.blocks));
    across_.odd.resize(across_.even.size());
  }

  void run(int64_t top, int64_t end) const {
    const int64_t left = scaling_.channels() * columns_.first;
    const int64_t count = scaling_.channels() * (columns_.end - columns_.first);
    RecentRows<float> recent(scaling_, 4, 4 * across_.quads.blocks + kPadding);
    for (int64_t y = top; y < end; ++y) {
      const auto [first, fraction] = centred_place(scaling_.y, y);
      const int64_t wanted = last_wanted_row(scaling_.y, first + 2, 4);
      CubicRows rows{};
      for (size_t i = 0; i < rows.size(); ++i) {
        rows[i] = recent.row(first - 1 + static_cast<int64_t>(i), wanted,
                             [&](const auto& wide) { cubic_across(wide, across_); });
      }
      cubic_down(scaling_.dst_at(columns_.first, y), rows, cubic_weights(fraction),
                 std::clamp<int64_t>(elements_in_floats() - left, 0, count), count);
    }
  }

 private:
  // OpenCV takes eight elements at a time in floats and what is left of a row exactly.
  int64_t elements_in_floats() const { return scaling_.x.dst * scaling_.channels() / 8 * 8; }

  void set_column(std::vector<int32_t>& offsets, int64_t x, size_t element) {
    const Place place = centred_place(scaling_.x, x);
    const auto weights = cubic_weights(place.fraction);
    std::array<int32_t, 4> from;
    for (size_t tap = 0; tap < 4; ++tap) {
      const int64_t column = place.first - 1 + static_cast<int64_t>(tap);
      from[tap] = static_cast<int32_t>(std::clamp<int64_t>(column, 0, scaling_.x.src - 1) *
                                       scaling_.channels());
    }
    for (int channel = 0; channel < scaling_.channels(); ++channel, ++element) {
      for (size_t tap = 0; tap < 4; ++tap) offsets[4 * element + tap] = from[tap] + channel;
      for (size_t i = 0; i < 2; ++i) {
        across_.even[2 * element + i] = weights[2 * i];
        across_.odd[2 * element + i] = weights[2 * i + 1];
      }
    }
  }

  const Scaling& scaling_;
  Columns columns_;
  CubicColumns across_;
};

}  // namespace

void scale_cubic(const Scaling& scaling) { scale_with<Cubic>(scaling); }

}  // namespace kel::imgproc
