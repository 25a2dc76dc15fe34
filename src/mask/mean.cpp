#include "mask/mean.h"

#include <algorithm>
#include <array>
#include <vector>

#include "core/kernels/mean.h"
#include "core/kernels/transpose.h"
#include "core/mirrored.h"
#include "core/row_bands.h"

namespace kel::mask {
namespace {

using imageprocess::kMeanRows;

// Sixteen rows of results at a time, from left to right. What the windows of a few hundred columns
// need stays in the first cache.
class Mean {
 public:
  Mean(const cv::Mat& src, cv::Mat& dst, int32_t ksize)
      : src_(src),
        dst_(dst),
        ksize_(ksize),
        radius_(ksize / 2),
        step_(src.channels()),
        chunk_(std::max<int64_t>(kChunk / step_, 2 * radius_)),
        sums_(static_cast<size_t>(row_bytes())),
        columns_(static_cast<int>((ksize + chunk_ + 2) * step_), kMeanRows, CV_16UC1),
        means_(static_cast<int>((chunk_ + 1) * step_ + 1) / 2, 2 * kMeanRows, CV_8UC1),
        last_rows_(kMeanRows, static_cast<int>(chunk_) * step_, CV_8UC1) {}

  void run(const cv::Range& band) {
    start(band.start);
    for (int32_t y = band.start; y < band.end; y += kMeanRows) {
      for (int32_t i = 0; i < kMeanRows; ++i) {
        entering_[static_cast<size_t>(i)] = row(y + i + radius_);
        leaving_[static_cast<size_t>(i)] = row(y + i - radius_ - 1);
      }
      filter_rows(dst_.rowRange(y, std::min(y + kMeanRows, band.end)));
    }
  }

 private:
  static constexpr int64_t kChunk = 384;  // bytes

  int64_t row_bytes() const { return int64_t{src_.cols} * step_; }

  const uint8_t* row(int64_t y) const { return src_.ptr(static_cast<int>(mirrored(y, src_.rows))); }

  // The windows of the row above the first result.
  void start(int32_t y) {
    std::fill(sums_.begin(), sums_.end(), uint16_t{0});
    for (int32_t at = -radius_ - 1; at < radius_; ++at) {
      const uint8_t* from = row(y + at);
      for (size_t x = 0; x < sums_.size(); ++x)
        sums_[x] = static_cast<uint16_t>(sums_[x] + from[x]);
    }
  }

  void filter_rows(cv::Mat rows) {
    imageprocess::WindowSums windows{};
    columns_.rowRange(0, ksize_ * step_).setTo(0);
    origin_ = -radius_ - ksize_;
    int64_t ready = 0;  // columns of the image that have been summed
    for (int64_t x = -2 * radius_; x < src_.cols;) {
      const int64_t pixels = x < 0 ? -x : std::min(chunk_, src_.cols - x);
      // One more than windows reach: the outermost of the mirrored ones.
      const int64_t next = std::min<int64_t>(x + pixels + radius_ + 1, src_.cols);
      if (next > ready) slide_down(ready, next);
      if (x < 0) mirror(-radius_, 0);
      mirror(std::max<int64_t>(next, x + radius_), x + pixels + radius_);
      ready = next;
      const int64_t single = row_bytes() / 8 * 8 - x * step_;
      imageprocess::mean_along(windows, {reinterpret_cast<uint8_t(*)[kMeanRows][2]>(means_.data),
                                         column(x + radius_), pixels, single, ksize_, step_});
      if (x >= 0) turn(rows, x, pixels);
      x += pixels;
      keep_from(x + radius_ - ksize_);
    }
  }

  uint16_t* column(int64_t x) {
    return columns_.ptr<uint16_t>(static_cast<int>(x - origin_) * step_);
  }

  void slide_down(int64_t first, int64_t end) {
    std::array<const uint8_t*, kMeanRows> entering = entering_;
    std::array<const uint8_t*, kMeanRows> leaving = leaving_;
    for (const uint8_t*& from : entering) from += first * step_;
    for (const uint8_t*& from : leaving) from += first * step_;
    imageprocess::slide_down(column(first), sums_.data() + first * step_, entering.data(),
                             leaving.data(), (end - first) * step_);
  }

  // Columns beyond the image's sides.
  void mirror(int64_t first, int64_t end) {
    for (int64_t x = first; x < end; ++x) {
      std::copy_n(column(mirrored(x, src_.cols)), kMeanRows * step_, column(x));
    }
  }

  void keep_from(int64_t x) {
    std::copy(column(x), column(x + ksize_ + 1), column(origin_));
    origin_ = x;
  }

  void turn(cv::Mat rows, int64_t first, int64_t pixels) {
    const int64_t bytes = pixels * step_;
    const bool all = rows.rows == kMeanRows;
    uint8_t* to = all ? rows.data + first * step_ : last_rows_.data;
    const auto pitch = static_cast<ptrdiff_t>(all ? rows.step : last_rows_.step);
    imageprocess::transpose(to, pitch, means_.data, 2 * kMeanRows, kMeanRows, bytes / 2, 2);
    for (int y = 0; bytes % 2 != 0 && y < kMeanRows; ++y) {
      to[y * pitch + bytes - 1] = means_.ptr(static_cast<int>(bytes / 2))[2 * y];
    }
    for (int y = 0; !all && y < rows.rows; ++y) {
      std::copy_n(last_rows_.ptr(y), bytes, rows.ptr(y) + first * step_);
    }
  }

  const cv::Mat& src_;
  cv::Mat& dst_;
  const int32_t ksize_;
  const int32_t radius_;
  const int step_;
  const int64_t chunk_;  // pixels
  std::array<const uint8_t*, kMeanRows> entering_{};
  std::array<const uint8_t*, kMeanRows> leaving_{};
  int64_t origin_ = 0;          // pixel of the first column that is kept
  std::vector<uint16_t> sums_;  // of the columns at the row last taken in
  cv::Mat columns_;
  cv::Mat means_;
  cv::Mat last_rows_;  // fewer than sixteen of which are in the image
};

}  // namespace

void mean(const cv::Mat& src, cv::Mat& dst, int32_t ksize) {
  if (ksize == 1) return src.copyTo(dst);
  for_each_band(src, 2 * ksize, [&](const cv::Range& band) { Mean(src, dst, ksize).run(band); });
}

}  // namespace kel::mask
