#include "core/kernels/resize_area.h"
#include "core/resample/scaling.h"

namespace kel::imgproc {
namespace {

constexpr int64_t kGroup = AreaColumns::kGroup;

class Area {
 public:
  Area(const Scaling& scaling, Columns columns) : scaling_(scaling) {
    for (int64_t x = columns.first; x < columns.end; ++x) {
      covers_.push_back(cover(scaling.x, x));
      across_.taps = std::max(across_.taps, covers_.back().count);
    }
    first_ = columns.first;
    if (has_tables()) fill_tables();
  }

  void run(int64_t top, int64_t end) const {
    std::vector<float> sum(static_cast<size_t>(padded_elements()));
    RecentRows<float> recent(scaling_, 1, padded_elements());
    for (int64_t y = top; y < end; ++y) {
      const Cover rows = cover(scaling_.y, y);
      for (int64_t i = 0; i < rows.count; ++i) {
        const float* row = recent.row(rows.first + i, rows.first + rows.count - 1,
                                      [&](const auto& wide) { scale_across(wide); });
        area_add(sum.data(), row, rows.weight_of(i), i == 0, padded_elements());
      }
      area_finish(scaling_.dst_at(first_, y), sum.data(), elements());
    }
  }

 private:
  // Beyond this, a sum is long enough to be quick without.
  bool has_tables() const { return across_.taps <= 1024; }

  int64_t elements() const { return scaling_.channels() * static_cast<int64_t>(covers_.size()); }
  int64_t padded_elements() const { return (elements() + 31) / 16 * 16; }

  void fill_tables() {
    const int64_t quads = across_.quads();
    std::vector<int32_t> offsets;
    for (int64_t first = 0; first < padded_elements(); first += kGroup) {
      for (int64_t quad = 0; quad < quads; ++quad) add_quad(offsets, first, 4 * quad);
    }
    across_.bytes = plan_byte_gather(offsets, SourceRows::gathered_bytes(scaling_.src));
  }

  void add_quad(std::vector<int32_t>& offsets, int64_t first, int64_t first_tap) {
    for (int64_t i = 0; i < kGroup; ++i) {
      for (int64_t tap = first_tap; tap < first_tap + 4; ++tap) {
        offsets.push_back(offset(first + i, tap));
      }
    }
    for (int64_t tap = first_tap; tap < first_tap + 4; ++tap) {
      for (int64_t i = 0; i < kGroup; ++i) across_.weights.push_back(weight(first + i, tap));
    }
  }

  const Cover* cover_of(int64_t element, int64_t tap) const {
    if (element >= elements()) return nullptr;
    const Cover& cover = covers_[static_cast<size_t>(element / scaling_.channels())];
    return tap < cover.count ? &cover : nullptr;
  }
  int32_t offset(int64_t element, int64_t tap) const {
    const Cover* cover = cover_of(element, tap);
    if (cover == nullptr) return ByteGather::kZero;
    const int64_t channels = scaling_.channels();
    return static_cast<int32_t>((cover->first + tap) * channels + element % channels);
  }
  float weight(int64_t element, int64_t tap) const {
    const Cover* cover = cover_of(element, tap);
    return cover == nullptr ? 0.0F : cover->weight_of(tap);
  }

  void scale_across(const RowsAcross<float>& rows) const {
    if (has_tables()) return area_across(rows, across_);
    for (size_t i = 0; i < static_cast<size_t>(rows.count); ++i) add_up(rows.to[i], rows.from[i]);
  }
  void add_up(float* out, const uint8_t* row) const {
    const int64_t channels = scaling_.channels();
    for (const Cover& cover : covers_) {
      for (int64_t channel = 0; channel < channels; ++channel) {
        const uint8_t* byte = row + cover.first * channels + channel;
        float sum = 0;
        for (int64_t i = 0; i < cover.count; ++i) {
          sum += static_cast<float>(byte[i * channels]) * cover.weight_of(i);
        }
        *out++ = sum;
      }
    }
  }

  const Scaling& scaling_;
  int64_t first_ = 0;
  std::vector<Cover> covers_;
  AreaColumns across_;
};

}  // namespace

void scale_by_area(const Scaling& scaling) { scale_with<Area>(scaling); }

}  // namespace kel::imgproc
