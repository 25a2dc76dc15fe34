#include "mask/morph_blocks.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <opencv2/imgproc.hpp>
#include <vector>

#include "core/row_bands.h"
#include "mask/flat_groups.h"

namespace kel::mask {
namespace {

using imageprocess::kSpreadColumns;
using imageprocess::kSpreadRows;
using imageprocess::PixelRun;

struct Ellipse {
  int32_t side;
  std::vector<PixelRun> runs;  // from short to long
  std::vector<int32_t> run_of_row;

  explicit Ellipse(int32_t size) : side(size) {
    const cv::Mat shape = cv::getStructuringElement(cv::MORPH_ELLIPSE, cv::Size(side, side));
    std::vector<PixelRun> run_at;
    for (int32_t y = 0; y < side; ++y) {
      const uint8_t* row = shape.ptr(y);
      const auto first = static_cast<int32_t>(std::find(row, row + side, uint8_t{1}) - row);
      run_at.push_back({first - side / 2, cv::countNonZero(shape.row(y))});
    }
    runs = run_at;
    const auto shorter = [](PixelRun a, PixelRun b) { return a.length < b.length; };
    const auto same = [](PixelRun a, PixelRun b) { return a.length == b.length; };
    std::sort(runs.begin(), runs.end(), shorter);
    runs.erase(std::unique(runs.begin(), runs.end(), same), runs.end());
    for (const PixelRun run : run_at) {
      const auto at = std::lower_bound(runs.begin(), runs.end(), run, shorter);
      run_of_row.push_back(static_cast<int32_t>(at - runs.begin()));
    }
  }
};

class Blocks {
 public:
  Blocks(const cv::Mat& src, cv::Mat& dst, const Ellipse& ellipse, bool dilate)
      : src_(src),
        dst_(dst),
        ellipse_(ellipse),
        dilate_(dilate),
        nothing_(static_cast<size_t>(src.cols), dilate ? 0 : 255),
        flat_(src, dst, ellipse.side / 2) {}

  void run(const cv::Range& band) {
    for (first_ = band.start; first_ < band.end; first_ += kSpreadRows) {
      end_ = std::min(first_ + kSpreadRows, band.end);
      flat_.run({first_, end_}, [&](const cv::Range& columns) {
        for (int32_t x = columns.start; x < columns.end; x += kColumns) {
          filter(std::min(x, columns.end - kColumns));
        }
      });
    }
  }

 private:
  static constexpr auto kColumns = static_cast<int32_t>(kSpreadColumns);
  static constexpr int32_t kMargin = kLargestForBlocks;  // of a block, on both sides
  static constexpr int32_t kWidest = kColumns + 2 * kMargin;
  static constexpr int32_t kMostRows = kSpreadRows + kLargestForBlocks - 1;

  // Where windows are in the image, its rows are read where they are.
  void filter(int32_t x) {
    const int32_t count = end_ - first_ + ellipse_.side - 1;
    const bool is_inside = x >= kMargin && x + kColumns + kMargin <= src_.cols;
    for (int32_t i = 0; i < count; ++i) {
      const int32_t y = first_ - ellipse_.side / 2 + i;
      const uint8_t* const row = y < 0 || y >= src_.rows ? nothing_.data() : src_.ptr(y);
      rows_[static_cast<size_t>(i)] = is_inside ? row + x : pad(i, row, x);
    }
    for (int32_t y = first_; y < end_; ++y) {
      results_[static_cast<size_t>(y - first_)] = dst_.ptr(y, x);
    }
    imageprocess::spread_ellipse(
        {results_.data(), rows_.data(), end_ - first_, ellipse_.side, ellipse_.runs.data(),
         static_cast<int32_t>(ellipse_.runs.size()), ellipse_.run_of_row.data()},
        dilate_);
  }

  const uint8_t* pad(int32_t i, const uint8_t* row, int32_t x) {
    uint8_t* const to = padded_.data() + i * kWidest;
    const int32_t left = std::max(x - kMargin, 0);
    const int32_t right = std::min(x + kColumns + kMargin, src_.cols);
    std::memset(to, dilate_ ? 0 : 255, kWidest);
    std::memcpy(to + left - (x - kMargin), row + left, static_cast<size_t>(right - left));
    return to + kMargin;
  }

  const cv::Mat& src_;
  cv::Mat& dst_;
  const Ellipse& ellipse_;
  bool dilate_;
  std::vector<uint8_t> nothing_;  // a row outside the image
  FlatGroups flat_;
  int32_t first_ = 0;  // rows that are filtered together
  int32_t end_ = 0;
  std::array<const uint8_t*, kMostRows> rows_{};
  std::array<uint8_t*, kSpreadRows> results_{};
  std::array<uint8_t, size_t{kMostRows} * kWidest> padded_{};
};

}  // namespace

void morph_blocks(const cv::Mat& src, cv::Mat& dst, int32_t side, bool dilate) {
  const Ellipse ellipse(side);
  for_each_band(src, 4 * side,
                [&](const cv::Range& band) { Blocks(src, dst, ellipse, dilate).run(band); });
}

}  // namespace kel::mask
