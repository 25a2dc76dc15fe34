#include <cmath>

#include "core/kernels/resize_nearest.h"
#include "core/resample/scaling.h"

namespace kel::imgproc {
namespace {

int64_t nearest(const Axis& axis, int64_t at) {
  const double place = std::floor(static_cast<double>(at) * axis.scale);
  return static_cast<int64_t>(std::min(place, static_cast<double>(axis.src - 1)));
}

class Nearest {
 public:
  Nearest(const Scaling& scaling, Columns columns) : scaling_(scaling), columns_(columns) {
    const int64_t channels = scaling.channels();
    std::vector<uint32_t> offsets;
    for (int64_t x = columns.first; x < columns.end; ++x) {
      pixels_.push_back(static_cast<uint32_t>(nearest(scaling.x, x) * channels));
      for (uint32_t i = 0; i < channels; ++i) offsets.push_back(pixels_.back() + i);
    }
    bytes_ = plan_byte_gather(offsets, SourceRows::gathered_bytes(scaling.src));
  }

  // Rows that show the same row of the source are copies.
  void run(int64_t top, int64_t end) const {
    const int64_t channels = scaling_.channels();
    const int64_t count = channels * (columns_.end - columns_.first);
    SourceRows source(scaling_.src);
    const uint8_t* above = nullptr;
    for (int64_t y = top; y < end; ++y) {
      uint8_t* out = scaling_.dst_at(columns_.first, y);
      const int64_t from = nearest(scaling_.y, y);
      if (above != nullptr && nearest(scaling_.y, y - 1) == from) {
        std::memcpy(out, above, static_cast<size_t>(count));
      } else {
        pick(out, source.row(from), count);
      }
      above = out;
    }
  }

 private:
  // Windows for every pixel of a block cost more than the pixels themselves.
  void pick(uint8_t* out, const uint8_t* row, int64_t count) const {
    constexpr int64_t kFewWindows = 9;
    const int channels = scaling_.channels();
    if (bytes_.windows * channels <= kFewWindows) return pick_bytes(out, row, bytes_, count);
    pick_pixels(out, row, pixels_.data(), count / channels, channels);
  }

  const Scaling& scaling_;
  Columns columns_;
  std::vector<uint32_t> pixels_;
  ByteGather bytes_;
};

}  // namespace

void scale_nearest(const Scaling& scaling) { scale_with<Nearest>(scaling); }

}  // namespace kel::imgproc
