#include "core/kernels/resize_nearest.h"
#include "core/resample/scaling.h"

namespace kel::imgproc {
namespace {

int64_t nearest(const Axis& axis, int64_t at) {
  return std::min(whole_below(static_cast<double>(at) * axis.scale), axis.src - 1);
}

class Nearest {
 public:
  Nearest(const Scaling& scaling, Columns columns) : scaling_(scaling), columns_(columns) {
    pixels_.resize(static_cast<size_t>(columns.end - columns.first));
    for (size_t x = 0; x < pixels_.size(); ++x) {
      const int64_t from = nearest(scaling.x, columns.first + static_cast<int64_t>(x));
      pixels_[x] = static_cast<int32_t>(from * scaling.channels());
    }
    if (has_words()) return;
    bytes_ = plan_byte_gather(byte_offsets(), SourceRows::gathered_bytes(scaling.src));
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
      const int64_t next = std::max(nearest(scaling_.y, y + 1), from + 1);
      if (above != nullptr && nearest(scaling_.y, y - 1) == from) {
        std::memcpy(out, above, static_cast<size_t>(count));
      } else {
        pick(out, source.row(from), source.ahead(from, next), count);
      }
      above = out;
    }
  }

 private:
  bool has_words() const { return scaling_.channels() == 4; }

  std::vector<int32_t> byte_offsets() const {
    std::vector<int32_t> offsets;
    offsets.reserve(static_cast<size_t>(scaling_.channels()) * pixels_.size());
    for (const int32_t pixel : pixels_) {
      for (int32_t i = 0; i < scaling_.channels(); ++i) offsets.push_back(pixel + i);
    }
    return offsets;
  }

  // Windows for every pixel of a block cost more than the pixels themselves.
  void pick(uint8_t* out, const uint8_t* row, int64_t ahead, int64_t count) const {
    constexpr int64_t kFewWindows = 9;
    const int channels = scaling_.channels();
    if (has_words()) return pick_words(out, row, ahead, pixels_.data(), count / channels);
    if (bytes_.windows * channels <= kFewWindows) return pick_bytes(out, row, ahead, bytes_, count);
    pick_pixels(out, row, ahead, pixels_.data(), count / channels, channels);
  }

  const Scaling& scaling_;
  Columns columns_;
  std::vector<int32_t> pixels_;
  ByteGather bytes_;
};

}  // namespace

void scale_nearest(const Scaling& scaling) { scale_with<Nearest>(scaling); }

}  // namespace kel::imgproc
