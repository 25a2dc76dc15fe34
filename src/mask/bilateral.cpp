#include "mask/bilateral.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <vector>

#include "core/elementary.h"
#include "core/kernels/bilateral.h"
#include "core/mirrored.h"
#include "core/row_bands.h"
#include "mask/mirrored_row.h"

namespace kel::mask {
namespace {

using imageprocess::BilateralOrder;
using imageprocess::BilateralTaps;
using imageprocess::kBilateralPixels;
using imageprocess::kCell;
using imageprocess::kRangeSlack;

// Half the width of a window in each of its rows, which is round.
std::vector<int32_t> reaches(int32_t radius) {
  std::vector<int32_t> columns;
  for (int32_t y = -radius; y <= radius; ++y) {
    int32_t x = radius;
    while (x * x + y * y > radius * radius) --x;
    columns.push_back(x);
  }
  return columns;
}

float weight_of(double square, double sigma) {
  if (sigma == 0.0) sigma = 1.0;
  return exp_of_negative(square * (-0.5 / (sigma * sigma)));
}

// Weights of the window's pixels, in OpenCV's order of operations.
std::vector<float> place_weights(int32_t radius, double sigma) {
  std::vector<float> by_square(static_cast<size_t>(radius) * static_cast<size_t>(radius) + 1,
                               -1.0F);
  std::vector<float> weights;
  for (int32_t y = -radius; const int32_t reach : reaches(radius)) {
    for (int32_t x = -reach; x <= reach; ++x) {
      const int32_t square = x * x + y * y;
      float& weight = by_square[static_cast<size_t>(square)];
      if (weight < 0.0F) {
        const double distance = std::sqrt(static_cast<double>(square));
        weight = weight_of(distance * distance, sigma);
      }
      weights.push_back(weight);
    }
    ++y;
  }
  return weights;
}

// Scaled for the kernel, which is exact.
std::vector<float> colour_weights(int channels, double sigma) {
  std::vector<float> weights;
  weights.reserve(static_cast<size_t>(256) * static_cast<size_t>(channels));
  for (int32_t i = 0; i < 256 * channels; ++i) {
    weights.push_back(weight_of(i * i, sigma) * imageprocess::kWeightScale);
  }
  return weights;
}

// Works on strips of columns, of which it keeps the rows that windows hold, with mirrored margins.
class Bilateral {
 public:
  Bilateral(const cv::Mat& src, cv::Mat& dst, int32_t radius, const std::vector<float>& places,
            const std::vector<float>& colours)
      : src_(src),
        dst_(dst),
        radius_(radius),
        step_(src.channels()),
        width_(std::min<int64_t>(kStrip, src.cols)),
        blocks_((width_ + kBilateralPixels - 1) / kBilateralPixels),
        plane_(blocks_ * kBilateralPixels + 2 * radius + 2 * kRangeSlack),
        rows_(4 * radius + kMoreRows, static_cast<int>(plane_ * step_), CV_8UC1, cv::Scalar(0)),
        least_(rows_.rows, static_cast<int>(blocks_ * step_), CV_8UC1),
        greatest_(least_.clone()),
        mixed_(static_cast<size_t>(plane_ * step_)),
        cells_(static_cast<size_t>(2 * plane_)),
        spreads_(static_cast<size_t>(blocks_)) {
    for (int32_t y = -radius; const int32_t reach : reaches(radius)) {
      for (int32_t x = -reach; x <= reach; ++x) {
        offsets_.push_back(static_cast<int32_t>(y * static_cast<int64_t>(rows_.step)) + x);
      }
      ends_.push_back(static_cast<int32_t>(offsets_.size()));
      ++y;
    }
    const float least = *std::min_element(places.begin(), places.end()) *
                        (colours.back() / imageprocess::kWeightScale);
    taps_ = {offsets_.data(),
             places.data(),
             ends_.data(),
             2 * radius + 1,
             colours.data(),
             plane_,
             least < std::numeric_limits<float>::min()};
    for (auto& means : means_of_even_) means.fill(kUnknown);
  }

  void run(const cv::Range& band) {
    for (first_ = 0; first_ < src_.cols; first_ += width_) {
      count_ = std::min(width_, src_.cols - first_);
      kept_ = 0;
      for (int32_t y = band.start - radius_; y < band.start + radius_; ++y) take_in(y);
      for (int32_t y = band.start; y < band.end; ++y) {
        take_in(y + radius_);
        filter_row(dst_.ptr(y) + first_ * step_);
      }
    }
  }

 private:
  static constexpr int64_t kStrip = 2048;  // pixels
  static constexpr int kMoreRows = 17;     // than twice those that are kept
  static constexpr int16_t kUnknown = -1;

  void take_in(int64_t y) {
    if (kept_ == rows_.rows) {
      kept_ = 2 * radius_;
      for (cv::Mat* const rows : {&rows_, &least_, &greatest_}) {
        rows->rowRange(rows->rows - kept_, rows->rows).copyTo(rows->rowRange(0, kept_));
      }
    }
    uint8_t* const planes = rows_.ptr(kept_);
    uint8_t* const mixed = step_ == 1 ? planes : mixed_.data();
    const uint8_t* const from = src_.ptr(static_cast<int>(mirrored(y, src_.rows)));
    const int64_t pixels = blocks_ * kBilateralPixels + 2 * radius_;
    copy_mirrored(mixed, from, src_.cols, step_, first_ - radius_, pixels);
    if (step_ != 1) imageprocess::split_pixels(mixed, pixels, planes, plane_);
    for (int c = 0; c < step_; ++c) find_ranges(c);
    ++kept_;
  }

  // Of a row of a channel in the windows of each block.
  void find_ranges(int channel) {
    constexpr int64_t kCells = kBilateralPixels / kCell;
    uint8_t* const least = cells_.data();
    uint8_t* const greatest = least + plane_;
    imageprocess::find_ranges({least, greatest, rows_.ptr(kept_) + channel * plane_,
                               blocks_ * kCells,
                               (2 * radius_ + kBilateralPixels + kCell - 1) / kCell});
    uint8_t* const least_of_blocks = least_.ptr(kept_) + channel * blocks_;
    uint8_t* const greatest_of_blocks = greatest_.ptr(kept_) + channel * blocks_;
    for (int64_t i = 0, blocks = blocks_; i < blocks; ++i) {
      least_of_blocks[i] = least[i * kCells];
      greatest_of_blocks[i] = greatest[i * kCells];
    }
  }

  // Differences in whole windows of each block; of colours, any bits that are in those of channels.
  void find_spreads() {
    std::fill(spreads_.begin(), spreads_.end(), uint8_t{0});
    const int top = kept_ - 1 - 2 * radius_;
    const auto blocks = static_cast<size_t>(blocks_);
    for (size_t c = 0; c < static_cast<size_t>(step_); ++c) {
      uint8_t* const least = cells_.data();
      uint8_t* const greatest = least + blocks;
      std::copy_n(least_.ptr(top) + c * blocks, blocks, least);
      std::copy_n(greatest_.ptr(top) + c * blocks, blocks, greatest);
      for (int y = top + 1; y < kept_; ++y) {
        const uint8_t* const least_of_row = least_.ptr(y) + c * blocks;
        const uint8_t* const greatest_of_row = greatest_.ptr(y) + c * blocks;
        for (size_t i = 0; i < blocks; ++i) {
          least[i] = std::min(least[i], least_of_row[i]);
          greatest[i] = std::max(greatest[i], greatest_of_row[i]);
        }
      }
      uint8_t* const spreads = spreads_.data();
      for (size_t i = 0; i < blocks; ++i) {
        spreads[i] = static_cast<uint8_t>(spreads[i] | (greatest[i] - least[i]));
      }
    }
  }

  // The last pixels of a row, fewer than OpenCV works on at a time, are summed in another order.
  void filter_row(uint8_t* result) {
    find_spreads();
    const int64_t lanes = step_ == 1 ? 8 : 32;
    const int64_t in_turn = std::min(src_.cols / lanes * lanes - first_, count_);
    filter_part(result, 0, in_turn, BilateralOrder::kInTurn);
    filter_part(result, in_turn, count_, BilateralOrder::kByFours);
  }

  // By runs of blocks with windows of one colour, and of others.
  void filter_part(uint8_t* result, int64_t begin, int64_t end, BilateralOrder order) {
    const auto is_even = [&](int64_t x) {
      return spreads_[static_cast<size_t>(x / kBilateralPixels)] == 0;
    };
    for (int64_t x = begin; x < end;) {
      int64_t next = x / kBilateralPixels * kBilateralPixels + kBilateralPixels;
      while (next < end && is_even(next) == is_even(x)) next += kBilateralPixels;
      next = std::min(next, end);
      if (is_even(x)) {
        fill(result, x, next, order);
      } else {
        filter(result + x * step_, x, next - x, order);
      }
      x = next;
    }
  }

  const uint8_t* middle(int64_t x) { return rows_.ptr(kept_ - 1 - radius_) + radius_ + x; }

  void filter(uint8_t* result, int64_t x, int64_t count, BilateralOrder order) {
    const int top = kept_ - 1 - 2 * radius_;
    const int64_t block = x / kBilateralPixels;
    imageprocess::bilateral(result, middle(x), count, step_, order, taps_,
                            {least_.ptr(top) + block, greatest_.ptr(top) + block,
                             static_cast<int64_t>(least_.step), spreads_.data() + block});
  }

  // Windows of one colour, the same for all. What is their mean depends on nothing else; it is that
  // colour unless so many pixels are summed that rounding adds up.
  void fill(uint8_t* result, int64_t begin, int64_t end, BilateralOrder order) {
    for (int c = 0; c < step_; ++c) {
      const uint8_t value = middle(begin)[c * plane_];
      int16_t& mean = means_of_even_[order == BilateralOrder::kInTurn ? 0 : 1][value];
      if (mean == kUnknown) {
        std::array<uint8_t, 3> means{};
        filter(means.data(), begin, 1, order);
        mean = means[static_cast<size_t>(c)];
      }
      const auto byte = static_cast<uint8_t>(mean);
      if (step_ == 1) std::fill(result + begin, result + end, byte);
      for (int64_t x = begin; step_ != 1 && x < end; ++x) result[x * step_ + c] = byte;
    }
  }

  const cv::Mat& src_;
  cv::Mat& dst_;
  const int32_t radius_;
  const int step_;
  const int64_t width_;   // of a strip
  const int64_t blocks_;  // of kBilateralPixels in a strip
  const int64_t plane_;
  int64_t first_ = 0;  // column of the strip
  int64_t count_ = 0;
  int kept_ = 0;  // rows
  cv::Mat rows_;
  cv::Mat least_;  // bytes in the windows of each block, row by row
  cv::Mat greatest_;
  std::vector<uint8_t> mixed_;  // a row before its channels are split
  std::vector<uint8_t> cells_;
  std::vector<uint8_t> spreads_;  // 0 for blocks with windows of one colour
  std::vector<int32_t> offsets_;
  std::vector<int32_t> ends_;
  BilateralTaps taps_{};
  std::array<std::array<int16_t, 256>, 2> means_of_even_;  // for both orders
};

}  // namespace

void bilateral(const cv::Mat& src, cv::Mat& dst, int32_t ksize, double sigma_colour,
               double sigma_space) {
  const int32_t radius = std::max(ksize / 2, 1);
  const std::vector<float> places = place_weights(radius, sigma_space);
  const std::vector<float> colours = colour_weights(src.channels(), sigma_colour);
  for_each_band(src, ksize, [&](const cv::Range& band) {
    Bilateral(src, dst, radius, places, colours).run(band);
  });
}

}  // namespace kel::mask
