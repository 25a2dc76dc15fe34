// Enlargement whose cost follows the edges of a mask: what lies between two pixels of one value has
// that value.
#include "core/resample/enlarge.h"

#include <algorithm>
#include <bit>
#include <functional>
#include <vector>

#include "core/kernels/bits_of_row.h"
#include "core/kernels/enlarge_row.h"
#include "core/resample/axis.h"
#include "core/resample/scaling.h"
#include "core/resize.h"
#include "core/row_bands.h"

namespace kel::imgproc {
namespace {

using Words = std::vector<uint64_t>;

constexpr int64_t kChunk = EnlargedColumns::kChunk;
constexpr int64_t kBits = BitMask::kBits;

size_t words_of(int64_t bits) { return static_cast<size_t>(BitMask::words_of(bits)); }

struct MaskColumns {
  EnlargedColumns all;
  std::vector<int64_t> starts;  // first column of the result that is right of a source column

  MaskColumns(int64_t src_width, int64_t width) {
    all.width = width;
    allocate(src_width);
    const Axis axis(src_width, width);
    for (int64_t x = 0; x < width; ++x) {
      Place place = centred_place(axis, x);
      if (place.first < 0) place = {0, 0};
      if (place.first >= src_width - 1) place = {src_width - 1, 0};
      set(x, place, src_width);
    }
    all.first_uneven.push_back(static_cast<int64_t>(all.uneven.size()));
    starts.resize(static_cast<size_t>(src_width) + 1, width);
  }

  // The chunks with pixels that lie between source column x and the next, and perhaps a neighbour.
  int64_t first_chunk(int64_t x) const {
    return (std::max<int64_t>(starts[static_cast<size_t>(x)], 1) - 1) / kChunk;
  }
  int64_t last_chunk(int64_t x) const {
    return std::min(starts[static_cast<size_t>(x) + 1], all.width - 1) / kChunk;
  }

 private:
  void allocate(int64_t src_width) {
    ByteGather& gather = all.pairs.pairs;
    gather.blocks = (all.width + 15) / 16 * 2;
    gather.windows = gather.usual_windows = 1;
    gather.starts.resize(static_cast<size_t>(gather.blocks));
    gather.lookup.resize(static_cast<size_t>(16 * gather.blocks), ByteGather::kNone);
    all.pairs.weights.resize(static_cast<size_t>(8 * gather.blocks));
    starts.reserve(static_cast<size_t>(src_width) + 1);
  }

  void set(int64_t x, Place place, int64_t src_width) {
    const auto [left_weight, right_weight] = linear_weights(place.fraction);
    const auto left = static_cast<int32_t>(place.first);
    const int32_t right = std::min(left + 1, static_cast<int32_t>(src_width) - 1);
    while (static_cast<int32_t>(starts.size()) <= left) starts.push_back(x);
    if (x % kChunk == 0) {
      all.places.push_back(left);
      all.first_uneven.push_back(static_cast<int64_t>(all.uneven.size()));
    }
    if (left_weight + right_weight != 1 << kWeightBits) {
      all.uneven.push_back({x, left, right, left_weight, right_weight});
    }
    ByteGather& gather = all.pairs.pairs;
    const auto last_start = static_cast<int32_t>(src_width - ByteGather::kBlock);
    int32_t& start = gather.starts[static_cast<size_t>(x / 8)];
    if (x % 8 == 0) start = std::min(left, last_start);
    const bool right_is_near = right_weight >= 1024;
    uint8_t* const lookup = gather.lookup.data() + 2 * x;
    lookup[0] = static_cast<uint8_t>((right_is_near ? right : left) - start);
    lookup[1] = static_cast<uint8_t>((right_is_near ? left : right) - start);
    const int weight = std::min<int>(right_weight, 2048 - right_weight);
    all.pairs.weights[static_cast<size_t>(x)] = static_cast<int16_t>(-32 * weight);
  }
};

class BytesSource {
 public:
  explicit BytesSource(const cv::Mat& src) : src_(src) {}
  int32_t width() const { return src_.cols; }
  int32_t height() const { return src_.rows; }
  const uint8_t* row(int32_t y) const { return src_.ptr(y); }

 private:
  const cv::Mat& src_;
};

class BitsSource {
 public:
  explicit BitsSource(const BitMask& src) : src_(src) {
    for (auto& row : rows_) row.resize(static_cast<size_t>(src.width()));
  }
  int32_t width() const { return src_.width(); }
  int32_t height() const { return src_.height(); }
  // Good until the next row but one is asked for.
  const uint8_t* row(int32_t y) {
    const auto slot = static_cast<size_t>(y % 2);
    if (numbers_[slot] != y) {
      numbers_[slot] = y;
      imageprocess::bytes_of_bits(rows_[slot].data(), src_.row(y), src_.width());
    }
    return rows_[slot].data();
  }

 private:
  const BitMask& src_;
  std::vector<uint8_t> rows_[2];
  int32_t numbers_[2] = {-1, -1};
};

template <typename Source>
class Rows {
 public:
  Rows(const Source& src, const MaskColumns& columns, const Axis& axis)
      : src_(src),
        columns_(columns),
        axis_(axis),
        changes_(words_of(src_.width())),
        mixed_{Words(words_of(static_cast<int64_t>(columns.all.places.size()))), mixed_[0]} {}

  void make(uint8_t* to, int32_t y) {
    const Place place = centred_place(axis_, y);
    const auto inside = [&](int64_t row) {
      return static_cast<int32_t>(std::clamp<int64_t>(row, 0, src_.height() - 1));
    };
    const int32_t upper = inside(place.first);
    const int32_t lower = inside(place.first + 1);
    const auto [upper_weight, lower_weight] = linear_weights(place.fraction);
    enlarge_row(
        to,
        {src_.row(upper), src_.row(lower), upper_weight, lower_weight, mixed(upper), mixed(lower)},
        columns_.all);
  }

 private:
  // The chunks in which row y has several values.
  const uint64_t* mixed(int32_t y) {
    const auto slot = static_cast<size_t>(y % 2);
    Words& mixed = mixed_[slot];
    if (numbers_[slot] == y) return mixed.data();
    numbers_[slot] = y;
    std::fill(mixed.begin(), mixed.end(), 0);
    find_changes(changes_.data(), src_.row(y), src_.width());
    for (size_t word = 0; word < changes_.size(); ++word) {
      for (uint64_t bits = changes_[word]; bits != 0; bits &= bits - 1) {
        const int64_t x = kBits * static_cast<int64_t>(word) + std::countr_zero(bits);
        for (int64_t i = columns_.first_chunk(x); i <= columns_.last_chunk(x); ++i) {
          mixed[static_cast<size_t>(i / kBits)] |= uint64_t{1} << (i % kBits);
        }
      }
    }
    return mixed.data();
  }

  Source src_;
  const MaskColumns& columns_;
  const Axis& axis_;
  Words changes_;
  Words mixed_[2];  // of two rows, by their numbers
  int32_t numbers_[2] = {-1, -1};
};

// Whether flat areas are what an image consists of, from some of its rows.
template <typename Source>
bool is_mostly_flat(Source src) {
  constexpr int32_t kStep = 8;
  constexpr int64_t kFew = 16;  // pixels to a change
  int64_t found = 0;
  Words changes(words_of(src.width()));
  for (int32_t y = 0; y < src.height(); y += kStep) {
    find_changes(changes.data(), src.row(y), src.width());
    for (const uint64_t word : changes) found += std::popcount(word);
  }
  return found * kStep * kFew <= int64_t{src.width()} * src.height();
}

template <typename Source>
bool is_enlarged(cv::Size size, const Source& src) {
  return src.width() >= ByteGather::kBlock && size.width > src.width() &&
         size.height > src.height();
}

template <typename Source>
bool can_follow_edges(cv::Size size, const Source& src) {
  return is_enlarged(size, src) && is_mostly_flat(src);
}

template <typename Source>
void enlarge_along_edges(cv::Mat& dst, const Source& src) {
  const MaskColumns columns(src.width(), dst.cols);
  const Axis down(src.height(), dst.rows);
  for_each_band(dst, 16, [&](const cv::Range& band) {
    Rows rows(src, columns, down);
    for (int32_t y = band.start; y < band.end; ++y) rows.make(dst.ptr(y), y);
  });
}

void scale_as_a_whole(cv::Mat& dst, const cv::Mat& src) {
  resize_plane(dst, src, kel::imageprocess::InterpolationMethod::kLinear);
}

}  // namespace

bool enlarge_mask(const Scaling& scaling) {
  const BytesSource source(scaling.src);
  if (scaling.channels() != 1 || !can_follow_edges(scaling.dst.size(), source)) return false;
  cv::Mat dst = scaling.dst;
  enlarge_along_edges(dst, source);
  return true;
}

void enlarge(cv::Mat& dst, const BitMask& src) {
  const BitsSource source(src);
  if (can_follow_edges(dst.size(), source)) return enlarge_along_edges(dst, source);
  cv::Mat bytes(src.height(), src.width(), CV_8UC1);
  src.write(bytes);
  scale_as_a_whole(dst, bytes);
}

bool for_each_enlarged_band(const cv::Mat& src, const cv::Mat& dst, int32_t halo,
                            const std::function<void(const cv::Mat&, const cv::Range&)>& visit) {
  constexpr int32_t kRows = 128;  // of a band: some vectors of bytes in the cache
  const BytesSource source(src);
  if (!is_enlarged(dst.size(), source)) return false;
  const MaskColumns columns(src.cols, dst.cols);
  const Axis down(src.rows, dst.rows);
  for_each_band(dst, kRows, [&](const cv::Range& share) {
    Rows rows(source, columns, down);
    cv::Mat enlarged(kRows + 2 * halo, dst.cols, CV_8UC1);
    for (int32_t first = share.start; first < share.end; first += kRows) {
      const cv::Range band(first, std::min(first + kRows, share.end));
      const int32_t top = std::max(band.start - halo, 0);
      const int32_t end = std::min(band.end + halo, dst.rows);
      for (int32_t y = top; y < end; ++y) rows.make(enlarged.ptr(y - top), y);
      visit(enlarged.rowRange(0, end - top), band);
    }
  });
  return true;
}

BitMask enlarged_above(const cv::Mat& src, cv::Size size, uint8_t level) {
  const BytesSource source(src);
  if (!can_follow_edges(size, source)) {
    cv::Mat bytes(size, CV_8UC1);
    scale_as_a_whole(bytes, src);
    return {bytes, level};
  }
  const MaskColumns columns(src.cols, size.width);
  const Axis down(src.rows, size.height);
  Rows rows(source, columns, down);
  std::vector<uint8_t> row(static_cast<size_t>(size.width));
  BitMask result(size.width, size.height);
  for (int32_t y = 0; y < size.height; ++y) {
    rows.make(row.data(), y);
    imageprocess::bits_above(result.row(y), row.data(), size.width, level);
  }
  return result;
}

}  // namespace kel::imgproc
