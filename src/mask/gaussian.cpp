#include "mask/gaussian.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <opencv2/core/softfloat.hpp>
#include <vector>

#include "core/kernels/gaussian.h"
#include "core/kernels/gaussian_small.h"
#include "core/mirrored.h"
#include "core/row_bands.h"
#include "mask/flat_cells.h"
#include "mask/flat_groups.h"
#include "mask/mirrored_row.h"

namespace kel::mask {
namespace {

using imageprocess::GaussianTaps;
using imageprocess::kGaussianRows;

// The kernels of OpenCV where it does not compute them; sides of the bell from the outside in.
std::vector<double> tabulated_bell(int32_t ksize) {
  switch (ksize) {
    case 1:
      return {1.0};
    case 3:
      return {0.25, 0.5};
    case 5:
      return {0.0625, 0.25, 0.375};
    case 7:
      return {0.03125, 0.109375, 0.21875, 0.28125};
    case 9:
      return {4 / 256.0, 13 / 256.0, 30 / 256.0, 51 / 256.0, 60 / 256.0};
    default:
      return {};
  }
}

// The bell from the outside to its middle, in OpenCV's order of operations.
std::vector<double> bell(int32_t ksize, double sigma) {
  if (sigma == 0.0 && ksize <= 9) return tabulated_bell(ksize);
  if (sigma == 0.0) sigma = std::fma(ksize, 0.15, 0.35);
  const double scale = -0.125 / (sigma * sigma);
  std::vector<double> values;
  double sum = 0.0;
  for (int32_t x = 1 - ksize; x < 0; x += 2) {
    // The same on every processor, unlike std::exp.
    values.push_back(double{cv::exp(cv::softdouble(scale * (x * x)))});
    sum += values.back();
  }
  values.push_back(1.0);
  const double normalised = 1.0 / (sum * 2.0 + 1.0);
  for (double& value : values) value *= normalised;
  return values;
}

// Taps from the middle outwards, without zeros at the end. What rounding leaves over is passed on
// to the next tap, and what is left in the end goes to the middle.
std::vector<uint16_t> gaussian_taps(int32_t ksize, double sigma) {
  std::vector<double> values = bell(ksize, sigma);
  values.pop_back();
  std::vector<uint16_t> taps;
  double left_over = 0.0;
  int32_t middle = 256;
  for (const double value : values) {
    const double wanted = value * 256.0 + left_over;
    const double tap = std::nearbyint(wanted);
    left_over = wanted - tap;
    middle -= 2 * static_cast<int32_t>(tap);
    if (tap > 0.0 || !taps.empty()) taps.push_back(static_cast<uint16_t>(tap));
  }
  taps.push_back(static_cast<uint16_t>(middle));
  std::reverse(taps.begin(), taps.end());
  return taps;
}

// The sums along rows are kept while windows hold the row.
class Gaussian {
 public:
  // Of areas up to `columns` wide.
  Gaussian(const cv::Mat& src, cv::Mat& dst, GaussianTaps along, GaussianTaps across,
           int32_t columns)
      : src_(src),
        dst_(dst),
        along_(along),
        across_(across),
        step_(src.channels()),
        kept_(2 * across.radius + kGaussianRows),
        width_(std::min<int64_t>(kMostSums / kept_ / step_ / kSlack * kSlack, columns)),
        rows_(static_cast<size_t>(kept_)) {
    const int pitch = static_cast<int>(width_ * step_ / kSlack * kSlack + 2 * kSlack);
    padded_.create(1, pitch + 2 * along.radius * step_, CV_8UC1);
    sums_.create(kept_, pitch, CV_16SC1);
    spare_.create(1, pitch, CV_8UC1);
  }

  void run(const cv::Rect& area) {
    for (first_ = area.x; first_ < area.br().x; first_ += width_) {
      count_ = std::min(width_, area.br().x - first_);
      int32_t next = std::max(area.y - across_.radius, 0);  // row whose sums come next
      for (int32_t y = area.y; y < area.br().y; y += kGaussianRows) {
        const int32_t last = std::min(y + kGaussianRows - 1 + across_.radius, src_.rows - 1);
        while (next <= last) sum_row(next++);
        sum_across(y, area.br().y);
      }
    }
  }

 private:
  static constexpr int64_t kMostSums = 1 << 19;  // that stay in the second cache
  static constexpr int64_t kSlack = imageprocess::kGaussianSlack;

  int16_t* row_of_sums(int32_t y) { return sums_.ptr<int16_t>(y % kept_); }

  // Where the margins are in the image, too, the row is read where it is.
  void sum_row(int32_t y) {
    const int64_t left = first_ - along_.radius;
    const int64_t count = count_ + 2 * along_.radius;
    const uint8_t* row = src_.ptr(y) + left * step_;
    if (left < 0 || (left + count) * step_ + kSlack > int64_t{src_.cols} * step_) {
      copy_mirrored(padded_.data, src_.ptr(y), src_.cols, step_, left, count);
      row = padded_.data;
    }
    imageprocess::gaussian_along_row(row_of_sums(y), row + along_.radius * step_, count_ * step_,
                                     step_, along_);
  }

  void sum_across(int32_t y, int32_t end) {
    for (int32_t i = 0; i < kept_; ++i) {
      const int64_t from = mirrored(int64_t{y} - across_.radius + i, src_.rows);
      rows_[static_cast<size_t>(i)] = row_of_sums(static_cast<int32_t>(from));
    }
    std::array<uint8_t*, kGaussianRows> results{};
    for (int32_t i = 0; i < kGaussianRows; ++i) {
      uint8_t*& result = results[static_cast<size_t>(i)];
      result = y + i < end ? dst_.ptr(y + i) + first_ * step_ : spare_.data;
    }
    imageprocess::gaussian_across_rows(results.data(), rows_.data(), count_ * step_, across_);
  }

  const cv::Mat& src_;
  cv::Mat& dst_;
  const GaussianTaps along_;
  const GaussianTaps across_;
  const int step_;
  const int kept_;       // rows of sums
  const int64_t width_;  // of a strip of columns
  int64_t first_ = 0;    // column of the strip
  int64_t count_ = 0;
  cv::Mat padded_;
  cv::Mat sums_;   // in a matrix, because those are aligned for vectors
  cv::Mat spare_;  // takes results below the band
  std::vector<const int16_t*> rows_;
};

bool is_small(GaussianTaps along, GaussianTaps across) {
  return std::max(along.radius, across.radius) <= imageprocess::kMostSmallRadius;
}

void filter_small(const cv::Mat& src, cv::Mat& dst, const cv::Rect& area, GaussianTaps along,
                  GaussianTaps across) {
  const int step = src.channels();
  imageprocess::SmallGaussian job{};
  job.count = int64_t{area.width} * step;
  job.before = int64_t{std::min(area.x, along.radius)} * step;
  job.after = int64_t{std::min(src.cols - area.br().x, along.radius)} * step;
  job.step = step;
  job.along = along;
  job.across = across;
  for (int32_t y = area.y; y < area.br().y; y += kGaussianRows) {
    for (int32_t i = 0; i < kGaussianRows; ++i) {
      job.results[i] = y + i < area.br().y ? dst.ptr(y + i, area.x) : nullptr;
    }
    for (int32_t i = 0; i < 2 * across.radius + kGaussianRows; ++i) {
      const int64_t from = mirrored(int64_t{y} - across.radius + i, src.rows);
      job.rows[i] = src.ptr(static_cast<int>(from), area.x);
    }
    imageprocess::gaussian_small(job);
  }
}

// A few rows at a time, which stay in the cache between the look at them and the filter: the fewer,
// the less is open, and the more, the fewer are read for two of them.
template <typename Filter>
void filter_open_groups(const cv::Mat& src, cv::Mat& dst, const cv::Range& band, int32_t radius,
                        Filter filter) {
  const int32_t step = kGaussianRows * std::max(radius, 2);
  FlatGroups groups(src, dst, radius);
  for (int32_t y = band.start; y < band.end; y += step) {
    const cv::Range rows(y, std::min(y + step, band.end));
    groups.run(rows, [&](const cv::Range& columns) {
      filter(cv::Rect(columns.start, y, columns.size(), rows.size()));
    });
  }
}

}  // namespace

void gaussian(const cv::Mat& src, cv::Mat& dst, int32_t ksize, double sigma_x, double sigma_y) {
  const std::vector<uint16_t> taps_x = gaussian_taps(ksize, sigma_x);
  const std::vector<uint16_t> taps_y = gaussian_taps(ksize, sigma_y == 0.0 ? sigma_x : sigma_y);
  const GaussianTaps along{taps_x.data(), static_cast<int32_t>(taps_x.size()) - 1};
  const GaussianTaps across{taps_y.data(), static_cast<int32_t>(taps_y.size()) - 1};
  const auto filter = [&](const cv::Rect& area) {
    if (is_small(along, across) &&
        int64_t{area.width} * src.channels() >= imageprocess::kLeastSmallWidth) {
      return filter_small(src, dst, area, along, across);
    }
    Gaussian(src, dst, along, across, area.width).run(area);
  };
  if (src.channels() == 1 && looks_like_mask(src)) {
    const int32_t radius = std::max(along.radius, across.radius);
    constexpr int32_t kFarthest = 16;  // from here on larger cells are faster
    if (radius > 0 && radius < kFarthest && src.cols >= FlatGroups::kColumns) {
      return for_each_band(src, ksize, [&](const cv::Range& band) {
        filter_open_groups(src, dst, band, radius, filter);
      });
    }
    return for_each_open_area(src, dst, radius, filter);
  }
  for_each_band(src, ksize,
                [&](const cv::Range& band) { filter({0, band.start, src.cols, band.size()}); });
}

}  // namespace kel::mask
