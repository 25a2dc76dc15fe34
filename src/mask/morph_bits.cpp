#include "mask/morph_bits.h"

#include <algorithm>
#include <atomic>
#include <opencv2/imgproc.hpp>
#include <vector>

#include "core/contours/bit_mask.h"
#include "core/kernels/bits_of_row.h"
#include "core/kernels/spread_bits.h"
#include "core/row_bands.h"
#include "mask/binarise.h"

namespace kel::mask {
namespace {

using imageprocess::BitRun;
using imageprocess::kBitsBefore;
using imageprocess::kBitsBehind;

// The rows of the kernel: each is one of some runs.
struct Ellipse {
  std::vector<BitRun> runs;
  std::vector<size_t> run_of_row;

  explicit Ellipse(int32_t side) {
    const cv::Mat shape = cv::getStructuringElement(cv::MORPH_ELLIPSE, cv::Size(side, side));
    for (int32_t y = 0; y < side; ++y) {
      const uint8_t* row = shape.ptr(y);
      const auto first = static_cast<int32_t>(std::find(row, row + side, uint8_t{1}) - row);
      const auto length = static_cast<int32_t>(std::count(row, row + side, uint8_t{1}));
      run_of_row.push_back(find({first - side / 2, length}));
    }
  }

 private:
  size_t find(BitRun run) {
    size_t i = 0;
    while (i < runs.size() && (runs[i].first != run.first || runs[i].length != run.length)) ++i;
    if (i == runs.size()) runs.push_back(run);
    return i;
  }
};

// Keeps what the last rows spread, as many as the kernel has. Erosion is dilation of the zeros.
class BitRows {
 public:
  BitRows(const cv::Mat& src, const Ellipse& ellipse, bool dilate)
      : src_(src),
        ellipse_(ellipse),
        side_(static_cast<int32_t>(ellipse.run_of_row.size())),
        flipped_(dilate ? 0 : ~uint64_t{0}),
        words_(BitMask::words_of(src.cols)),
        pitch_(words_ + kBitsBefore + kBitsBehind),
        row_(static_cast<size_t>(pitch_)),
        any_(row_.size()),
        scratch_(row_.size() * imageprocess::kBitLevels),
        kept_(row_.size() * ellipse.runs.size() * static_cast<size_t>(side_)) {}

  // Whether row y is binary; it is kept then.
  bool take(int32_t y) {
    uint64_t* const bits = row_.data() + kBitsBefore;
    imageprocess::bits_above(bits, src_.ptr(y), src_.cols, 254);
    imageprocess::bits_above(any_.data(), src_.ptr(y), src_.cols, 0);
    if (!std::equal(bits, bits + words_, any_.data())) return false;
    for (int64_t i = 0; i < words_; ++i) bits[i] ^= flipped_;
    bits[words_ - 1] &= BitMask::last_word_of(src_.cols);
    std::vector<uint64_t*>& to = targets_;
    to.clear();
    for (size_t i = 0; i < ellipse_.runs.size(); ++i) to.push_back(kept(y, i));
    imageprocess::spread_bits(to.data(), bits, words_, ellipse_.runs.data(),
                              static_cast<int32_t>(to.size()), scratch_.data());
    return true;
  }

  // Row y of the result, when all rows that it depends on were taken.
  void make(uint8_t* to, int32_t y) {
    sources_.clear();
    for (int32_t i = 0; i < side_; ++i) {
      const int32_t from = y + i - side_ / 2;
      if (from < 0 || from >= src_.rows) continue;
      sources_.push_back(kept(from, ellipse_.run_of_row[static_cast<size_t>(i)]));
    }
    imageprocess::join_bits(any_.data(), sources_.data(), static_cast<int32_t>(sources_.size()),
                            words_);
    for (int64_t i = 0; i < words_; ++i) any_[static_cast<size_t>(i)] ^= flipped_;
    imageprocess::bytes_of_bits(to, any_.data(), src_.cols);
  }

 private:
  uint64_t* kept(int32_t y, size_t run) {
    const size_t slot = static_cast<size_t>(y % side_) * ellipse_.runs.size() + run;
    return kept_.data() + slot * row_.size();
  }

  const cv::Mat& src_;
  const Ellipse& ellipse_;
  int32_t side_;
  uint64_t flipped_;
  int64_t words_;
  int64_t pitch_;
  std::vector<uint64_t> row_;
  std::vector<uint64_t> any_;
  std::vector<uint64_t> scratch_;
  std::vector<uint64_t> kept_;  // [row][run]
  std::vector<uint64_t*> targets_;
  std::vector<const uint64_t*> sources_;
};

}  // namespace

bool morph_bits(const cv::Mat& src, cv::Mat& dst, int32_t side, bool dilate) {
  constexpr int32_t kStep = 16;  // rows of which one is looked at before all are
  for (int32_t y = kStep / 2; y < src.rows; y += kStep) {
    if (!is_binary_row(src, y)) return false;
  }
  const Ellipse ellipse(side);
  std::atomic<bool> is_binary = true;
  for_each_band(src, 4 * side, [&](const cv::Range& band) {
    BitRows rows(src, ellipse, dilate);
    const int32_t below = side - 1 - side / 2;  // rows that a row depends on
    int32_t taken = std::max(band.start - side / 2, 0);
    for (int32_t y = band.start; y < band.end; ++y) {
      for (; taken <= std::min(y + below, src.rows - 1); ++taken) {
        if (!is_binary || !rows.take(taken)) return is_binary.store(false);
      }
      rows.make(dst.ptr(y), y);
    }
  });
  return is_binary;
}

}  // namespace kel::mask
