#include "mask/morph_runs.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstring>
#include <opencv2/imgproc.hpp>
#include <vector>

#include "core/kernels/spread_row.h"
#include "core/row_bands.h"

namespace kel::mask {
namespace {

using imageprocess::KernelRun;

constexpr int32_t kChunk = imageprocess::kSpreadChunk;

constexpr int32_t chunks_of(int32_t pixels) { return (pixels + kChunk - 1) / kChunk; }

// Some rows of the kernel, sorted by their run.
struct RunRows {
  std::vector<KernelRun> runs;
  std::vector<int32_t> rows;
  int32_t levels = 1;

  // `margin`: columns of padded rows before the first output column.
  RunRows(const cv::Mat& kernel, cv::Range part, int32_t margin) {
    std::vector<std::array<int32_t, 3>> found;  // start, length, row
    for (int32_t y = part.start; y < part.end; ++y) {
      const uint8_t* row = kernel.ptr(y);
      const auto length = static_cast<int32_t>(std::count(row, row + kernel.cols, uint8_t{1}));
      const auto start = static_cast<int32_t>(std::find(row, row + kernel.cols, uint8_t{1}) - row);
      found.push_back({start + margin - kernel.cols / 2, length, y});
    }
    std::sort(found.begin(), found.end());
    for (size_t i = 0; i < found.size(); ++i) {
      const auto [start, length, y] = found[i];
      if (i == 0 || found[i - 1][0] != start || found[i - 1][1] != length) add(start, length);
      rows.push_back(y);
      ++runs.back().rows;
    }
  }

 private:
  void add(int32_t start, int32_t length) {
    int32_t level = 0;
    while (2 << level <= length) ++level;
    runs.push_back({level, start, start + length - (1 << level), 0});
    levels = std::max(levels, level + 1);
  }
};

struct Ellipse {
  cv::Mat shape;
  int32_t centre;  // row and column
  int32_t margin;  // whole chunks, and one for the neighbours of the first pixel
  RunRows downward;
  RunRows along;
  RunRows upward;
  RunRows all;

  explicit Ellipse(int32_t side)
      : shape(cv::getStructuringElement(cv::MORPH_ELLIPSE, cv::Size(side, side))),
        centre(side / 2),
        margin(kChunk * (chunks_of(centre) + 1)),
        downward(shape, {0, centre}, margin),
        along(shape, {centre, centre + 1}, margin),
        upward(shape, {centre + 1, side}, margin),
        all(shape, {0, side}, margin) {
    shape.release();
  }
};

// Spreads the rows of a strip of columns right into the result, which starts as a copy.
class Strip {
 public:
  Strip(const cv::Mat& src, cv::Mat& dst, const Ellipse& ellipse, int32_t side, int32_t widest,
        bool dilate)
      : src_(src),
        dst_(dst),
        ellipse_(ellipse),
        side_(side),
        dilate_(dilate),
        stride_(2 * ellipse.margin + kChunk * (chunks_of(widest) + 4)),
        tables_(static_cast<size_t>(stride_ * ellipse.all.levels)),
        rows_(static_cast<size_t>(3 * stride_)),
        targets_(static_cast<size_t>(side)) {}

  // The result's columns [left, left + width) of some rows; left is a whole number of chunks.
  void run(int32_t left, int32_t width, const cv::Range& wanted) {
    left_ = left;
    width_ = width;
    wanted_ = wanted;
    from_ = std::max(0, left - ellipse_.margin + kChunk);
    to_ = std::min(src_.cols, left + width + ellipse_.margin - kChunk);
    const uint8_t nothing = dilate_ ? 0 : 255;
    std::fill(tables_.begin(), tables_.end(), nothing);
    std::fill(rows_.begin(), rows_.end(), nothing);
    // Rows that a row reaches: `centre` below it, one less above for even sides.
    const int32_t first = std::max(0, wanted.start - ellipse_.centre);
    const int32_t end = std::min(src_.rows, wanted.end + side_ - 1 - ellipse_.centre);
    if (first > 0) load(first - 1);
    load(first);
    for (int32_t y = wanted.start; y < std::min(wanted.end, first + ellipse_.centre); ++y) copy(y);
    for (int32_t y = first; y < end; ++y) {
      if (wants(y + ellipse_.centre)) copy(y + ellipse_.centre);
      load(y + 1);
      spread(y);
    }
  }

 private:
  bool wants(int32_t y) const { return y >= wanted_.start && y < wanted_.end; }
  void copy(int32_t y) {
    std::memcpy(dst_.ptr(y, left_), src_.ptr(y, left_), static_cast<size_t>(width_));
  }
  uint8_t* padded(int32_t y) { return rows_.data() + stride_ * ((y + 3) % 3); }

  // Beyond the last row nothing is spread.
  void load(int32_t y) {
    uint8_t* to = padded(y) + ellipse_.margin - (left_ - from_);
    const auto count = static_cast<size_t>(to_ - from_);
    if (y < src_.rows) {
      std::memcpy(to, src_.ptr(y, from_), count);
    } else {
      std::memset(to, dilate_ ? 0 : 255, count);
    }
  }

  // Rows that stand out from the one above almost everywhere are not worth looking into.
  void spread(int32_t y) {
    const uint8_t* row = padded(y);
    const uint64_t rising = outstanding(y, padded(y - 1), padded(y - 1));
    if (2 * std::popcount(rising) > chunks_of(width_)) {
      std::copy_n(row, stride_, tables_.data());
      return spread_chunks(y, ~uint64_t{0} >> (64 - stride_ / kChunk), ellipse_.all);
    }
    spread_chunks(y, rising, ellipse_.upward);
    spread_chunks(y, outstanding(y, padded(y + 1), padded(y + 1)), ellipse_.downward);
    spread_chunks(y, outstanding(y, row - 1, row + 1), ellipse_.along);
  }

  // Padding starts and ends with a chunk without pixels: those of a padded row have neighbours.
  uint64_t outstanding(int32_t y, const uint8_t* a, const uint8_t* b) {
    const auto chunks = static_cast<int32_t>(stride_ / kChunk) - 2;
    const uint64_t found = imageprocess::outstanding_pixels(
        tables_.data() + kChunk, padded(y) + kChunk, a + kChunk, b + kChunk, chunks, dilate_);
    return found << 1;
  }

  void spread_chunks(int32_t y, uint64_t occupied, const RunRows& rows) {
    if (occupied == 0) return;
    for (size_t i = 0; i < rows.rows.size(); ++i) {
      const int32_t to = y + ellipse_.centre - rows.rows[i];
      targets_[i] = wants(to) ? dst_.ptr(to, left_) : nullptr;
    }
    imageprocess::spread_row(
        {tables_.data(), stride_, rows.levels, occupied, width_, rows.runs.data(),
         static_cast<int32_t>(rows.runs.size()), targets_.data()},
        dilate_);
  }

  const cv::Mat& src_;
  cv::Mat& dst_;
  const Ellipse& ellipse_;
  const int32_t side_;
  const bool dilate_;
  const int64_t stride_;
  std::vector<uint8_t> tables_;
  std::vector<uint8_t> rows_;  // three padded rows
  std::vector<uint8_t*> targets_;
  int32_t left_ = 0;
  int32_t width_ = 0;
  cv::Range wanted_;
  int32_t from_ = 0;  // columns of the source that are loaded
  int32_t to_ = 0;
};

}  // namespace

void morph_runs(const cv::Mat& src, cv::Mat& dst, int32_t side, bool dilate) {
  constexpr int32_t kWidest = 24 * kChunk;  // with its margins at most 64 chunks
  const Ellipse ellipse(side);
  const int32_t widest = std::min(src.cols, kWidest);
  for_each_band(src, 4 * side, [&](const cv::Range& rows) {
    Strip strip(src, dst, ellipse, side, widest, dilate);
    for (int32_t left = 0; left < src.cols; left += widest) {
      strip.run(left, std::min(widest, src.cols - left), rows);
    }
  });
}

}  // namespace kel::mask
