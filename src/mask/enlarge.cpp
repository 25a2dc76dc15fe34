#include "mask/enlarge.h"

#include <algorithm>
#include <bit>
#include <vector>

#include "core/kernels/enlarge_row.h"
#include "core/resample/axis.h"
#include "core/resize.h"
#include "core/row_bands.h"

namespace kel::mask {
namespace {

using imgproc::EnlargedColumns;
using Words = std::vector<uint64_t>;

constexpr int64_t kChunk = EnlargedColumns::kChunk;
constexpr int64_t kBits = 64;  // of a word

size_t words_of(int64_t bits) { return static_cast<size_t>((bits + kBits - 1) / kBits); }

struct Columns {
  EnlargedColumns all;
  std::vector<int64_t> starts;  // first column of the result that is right of a source column

  Columns(int64_t src_width, int64_t width) {
    all.width = width;
    allocate(src_width);
    const imgproc::Axis axis(src_width, width);
    for (int64_t x = 0; x < width; ++x) {
      imgproc::Place place = imgproc::centred_place(axis, x);
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
    imgproc::ByteGather& gather = all.pairs.pairs;
    gather.blocks = (all.width + 15) / 16 * 2;
    gather.windows = gather.usual_windows = 1;
    gather.starts.resize(static_cast<size_t>(gather.blocks));
    gather.lookup.resize(static_cast<size_t>(16 * gather.blocks), imgproc::ByteGather::kNone);
    all.pairs.weights.resize(static_cast<size_t>(8 * gather.blocks));
    starts.reserve(static_cast<size_t>(src_width) + 1);
  }

  void set(int64_t x, imgproc::Place place, int64_t src_width) {
    const auto [left_weight, right_weight] = imgproc::linear_weights(place.fraction);
    const auto left = static_cast<int32_t>(place.first);
    const int32_t right = std::min(left + 1, static_cast<int32_t>(src_width) - 1);
    while (static_cast<int32_t>(starts.size()) <= left) starts.push_back(x);
    if (x % kChunk == 0) {
      all.places.push_back(left);
      all.first_uneven.push_back(static_cast<int64_t>(all.uneven.size()));
    }
    if (left_weight + right_weight != 1 << imgproc::kWeightBits) {
      all.uneven.push_back({x, left, right, left_weight, right_weight});
    }
    imgproc::ByteGather& gather = all.pairs.pairs;
    const auto last_start = static_cast<int32_t>(src_width - imgproc::ByteGather::kBlock);
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

class Rows {
 public:
  Rows(cv::Mat& dst, const cv::Mat& src, const Columns& columns, const imgproc::Axis& axis)
      : dst_(dst),
        src_(src),
        columns_(columns),
        axis_(axis),
        changes_(words_of(src.cols)),
        mixed_{Words(words_of(static_cast<int64_t>(columns.all.places.size()))), mixed_[0]} {}

  void run(const cv::Range& rows) {
    for (int32_t y = rows.start; y < rows.end; ++y) {
      const imgproc::Place place = imgproc::centred_place(axis_, y);
      const auto inside = [&](int64_t row) {
        return static_cast<int32_t>(std::clamp<int64_t>(row, 0, src_.rows - 1));
      };
      const int32_t upper = inside(place.first);
      const int32_t lower = inside(place.first + 1);
      const auto [upper_weight, lower_weight] = imgproc::linear_weights(place.fraction);
      imgproc::enlarge_row(dst_.ptr(y),
                           {src_.ptr(upper), src_.ptr(lower), upper_weight, lower_weight,
                            mixed(upper), mixed(lower)},
                           columns_.all);
    }
  }

 private:
  // The chunks in which row y has several values.
  const uint64_t* mixed(int32_t y) {
    const auto slot = static_cast<size_t>(y % 2);
    Words& mixed = mixed_[slot];
    if (numbers_[slot] == y) return mixed.data();
    numbers_[slot] = y;
    std::fill(mixed.begin(), mixed.end(), 0);
    imgproc::find_changes(changes_.data(), src_.ptr(y), src_.cols);
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

  cv::Mat& dst_;
  const cv::Mat& src_;
  const Columns& columns_;
  const imgproc::Axis& axis_;
  Words changes_;
  Words mixed_[2];  // of two rows, by their numbers
  int32_t numbers_[2] = {-1, -1};
};

// Whether flat areas are what an image consists of, from some of its rows.
bool is_mostly_flat(const cv::Mat& image) {
  constexpr int32_t kStep = 8;
  constexpr size_t kFew = 16;  // pixels to a change
  size_t found = 0;
  Words changes(words_of(image.cols));
  for (int32_t y = 0; y < image.rows; y += kStep) {
    imgproc::find_changes(changes.data(), image.ptr(y), image.cols);
    for (const uint64_t word : changes) found += static_cast<size_t>(std::popcount(word));
  }
  return found * kStep * kFew <= image.total();
}

}  // namespace

void enlarge(cv::Mat& dst, const cv::Mat& src) {
  if (src.cols < imgproc::ByteGather::kBlock || dst.cols <= src.cols || dst.rows <= src.rows ||
      !is_mostly_flat(src)) {
    return imgproc::resize_plane(dst, src, imageprocess::InterpolationMethod::kLinear);
  }
  const Columns columns(src.cols, dst.cols);
  const imgproc::Axis down(src.rows, dst.rows);
  for_each_band(dst, 16, [&](const cv::Range& rows) { Rows(dst, src, columns, down).run(rows); });
}

}  // namespace kel::mask
