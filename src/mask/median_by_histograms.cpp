#include "mask/median_by_histograms.h"

#include <algorithm>
#include <vector>

#include "core/kernels/median_run_by_histograms.h"
#include "core/row_bands.h"

namespace kel::mask {
namespace {

using imageprocess::ColumnHistograms;

// Columns that are filtered at a time, for the second cache. Half as many took 3 to 10 per cent
// less time up to kernel 25; beyond, what blocks share costs more.
constexpr int32_t block_of(int32_t radius) { return radius <= 12 ? 256 : 512; }

class HistogramMedian {
 public:
  HistogramMedian(const cv::Mat& src, cv::Mat& dst, int32_t ksize)
      : src_(src), dst_(dst), radius_(ksize / 2), block_(block_of(radius_)) {
    const size_t columns =
        static_cast<size_t>(std::min(src.cols, block_)) + static_cast<size_t>(2 * radius_);
    centres_.resize(columns);
    groups_.resize(16 * columns);
    values_.resize(16 * groups_.size());
  }

  void run(const cv::Range& band) {
    for (int channel = 0; channel < src_.channels(); ++channel) {
      for (int32_t left = 0; left < src_.cols; left += block_) filter(band, channel, left);
    }
  }

 private:
  void filter(const cv::Range& band, int channel, int32_t left) {
    const int32_t width = std::min(block_, src_.cols - left);
    const int step = src_.channels();
    std::fill(centres_.begin(), centres_.end(), ColumnHistograms::kNever);
    const ColumnHistograms all{
        {src_.data + channel, static_cast<ptrdiff_t>(src_.step[0]), src_.cols, src_.rows, step},
        radius_,
        width + 2 * radius_,
        left - radius_,
        centres_.data(),
        groups_.data(),
        values_.data()};
    for (int32_t y = band.start; y < band.end; ++y) {
      imageprocess::median_run_by_histograms(all, nullptr, 0, width - 1, y,
                                             dst_.ptr(y, left) + channel);
    }
  }

  const cv::Mat& src_;
  cv::Mat& dst_;
  const int32_t radius_;
  const int32_t block_;
  std::vector<int32_t> centres_;
  std::vector<uint8_t> groups_;
  std::vector<uint8_t> values_;
};

}  // namespace

void median_by_histograms(const cv::Mat& src, cv::Mat& dst, int32_t ksize) {
  for_each_band(src, 2 * ksize,
                [&](const cv::Range& band) { HistogramMedian(src, dst, ksize).run(band); });
}

}  // namespace kel::mask
