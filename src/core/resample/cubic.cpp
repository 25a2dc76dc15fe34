#include "core/kernels/resize_cubic.h"
#include "core/resample/scaling.h"

namespace kel::imgproc {
namespace {

constexpr int64_t kPadding = 16;  // elements that the kernels pass a row's end by

class Cubic {
 public:
  Cubic(const Scaling& scaling, Columns columns) : scaling_(scaling), columns_(columns) {
    std::vector<uint32_t> offsets;
    for (int64_t x = columns.first; x < columns.end; ++x) add_column(offsets, x);
    across_.quads = plan_byte_gather(offsets, SourceRows::gathered_bytes(scaling.src));
    across_.even.resize(static_cast<size_t>(8 * across_.quads.blocks));
    across_.odd.resize(across_.even.size());
  }

  void run(int64_t top, int64_t end) const {
    const int64_t left = scaling_.channels() * columns_.first;
    const int64_t count = scaling_.channels() * (columns_.end - columns_.first);
    RecentRows<float> recent(4, 4 * across_.quads.blocks + kPadding);
    SourceRows source(scaling_.src);
    const auto across = [&](int64_t y) {
      const int64_t inside = std::clamp<int64_t>(y, 0, scaling_.y.src - 1);
      return recent.row(inside,
                        [&](float* out) { cubic_across(out, source.row(inside), across_); });
    };
    for (int64_t y = top; y < end; ++y) {
      const Place place = centred_place(scaling_.y, y);
      const CubicRows rows{across(place.first - 1), across(place.first), across(place.first + 1),
                           across(place.first + 2)};
      cubic_down(scaling_.dst_at(columns_.first, y), rows, cubic_weights(place.fraction),
                 std::clamp<int64_t>(elements_in_floats() - left, 0, count), count);
    }
  }

 private:
  // OpenCV takes eight elements at a time in floats and what is left of a row exactly.
  int64_t elements_in_floats() const { return scaling_.x.dst * scaling_.channels() / 8 * 8; }

  void add_column(std::vector<uint32_t>& offsets, int64_t x) {
    const Place place = centred_place(scaling_.x, x);
    const auto weights = cubic_weights(place.fraction);
    for (int channel = 0; channel < scaling_.channels(); ++channel) {
      for (int64_t tap = -1; tap < 3; ++tap) {
        const int64_t from = std::clamp<int64_t>(place.first + tap, 0, scaling_.x.src - 1);
        offsets.push_back(static_cast<uint32_t>(from * scaling_.channels() + channel));
      }
      across_.even.insert(across_.even.end(), {weights[0], weights[2]});
      across_.odd.insert(across_.odd.end(), {weights[1], weights[3]});
    }
  }

  const Scaling& scaling_;
  Columns columns_;
  CubicColumns across_;
};

}  // namespace

void scale_cubic(const Scaling& scaling) { scale_with<Cubic>(scaling); }

}  // namespace kel::imgproc
