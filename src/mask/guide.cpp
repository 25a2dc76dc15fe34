#include "mask/guide.h"

#include <algorithm>
#include <cmath>

#include "core/resize.h"

namespace kel::mask {
namespace {

using imgproc::BrightnessColumns;
using imgproc::BrightnessRows;

constexpr int32_t kChannels = 3;

// Halving takes means of blocks, and rows of a pixel or two are too short for the kernel.
bool must_be_scaled_as_a_whole(const cv::Mat& photo, cv::Size size) {
  const bool is_halved = photo.cols == 2 * size.width && photo.rows == 2 * size.height;
  return is_halved || kChannels * photo.cols < BrightnessColumns::kBytes;
}

cv::Mat scaled_if_needed(const cv::Mat& photo, cv::Size size) {
  if (photo.size() == size || !must_be_scaled_as_a_whole(photo, size)) return photo;
  cv::Mat whole(size, CV_8UC3);
  imgproc::resize_plane(whole, photo, imageprocess::InterpolationMethod::kLinear);
  return whole;
}

imgproc::Place clamped(imgproc::Place place, int64_t last) {
  if (place.first < 0) return {0, 0};
  if (place.first >= last) return {last, 0};
  return place;
}

}  // namespace

Guide::Guide(const cv::Mat& photo, cv::Size size)
    : size_(size), photo_(scaled_if_needed(photo, size)), across_(photo_.cols, size.width) {
  const auto columns = static_cast<size_t>(size.width + BrightnessColumns::kAtOnce);
  columns_.starts.resize(columns);
  columns_.places.resize(BrightnessColumns::kBytes * columns, BrightnessColumns::kNone);
  columns_.weights.resize(4 * columns);
  for (int32_t x = 0; x < size.width; ++x) set_column(x);
  const auto row = [&](int64_t y) {
    return photo_.ptr(static_cast<int>(std::clamp<int64_t>(y, 0, photo_.rows - 1)));
  };
  const imgproc::Axis down(photo_.rows, size.height);
  rows_.reserve(static_cast<size_t>(size.height));
  for (int32_t y = 0; y < size.height; ++y) {
    const imgproc::Place place = imgproc::centred_place(down, y);
    const auto [upper_weight, lower_weight] = imgproc::linear_weights(place.fraction);
    rows_.push_back({row(place.first), row(place.first + 1), upper_weight, lower_weight});
  }
}

void Guide::set_column(int32_t x) {
  const int64_t last = photo_.cols - 1;
  const auto place = clamped(imgproc::centred_place(across_, x), last);
  const auto [left_weight, right_weight] = imgproc::linear_weights(place.fraction);
  if (left_weight + right_weight != 1 << imgproc::kWeightBits) {
    uneven_.push_back({x, left_weight, right_weight});
  }
  const auto left = static_cast<int32_t>(kChannels * place.first);
  const int32_t right = place.first == last ? left : left + kChannels;
  const bool right_is_near = right_weight >= 1024;
  const int32_t near = right_is_near ? right : left;
  const int32_t far = right_is_near ? left : right;
  const int32_t last_start =
      kChannels * photo_.cols - static_cast<int32_t>(BrightnessColumns::kBytes);
  const int32_t start = std::min(left, last_start);
  columns_.starts[static_cast<size_t>(x)] = start;
  const int weight = -32 * std::min<int>(right_weight, 2048 - right_weight);
  for (int32_t i = 0; i < kChannels; ++i) {
    uint8_t* const pair = columns_.places.data() + BrightnessColumns::kBytes * x + 2 * i;
    pair[0] = static_cast<uint8_t>(near - start + i);
    pair[1] = static_cast<uint8_t>(far - start + i);
    columns_.weights[4 * static_cast<size_t>(x) + static_cast<size_t>(i)] =
        static_cast<int16_t>(weight);
  }
}

void Guide::brightness(int16_t* to, int32_t x, int32_t y, int32_t count) const {
  const int32_t inside = std::min(count, size_.width - x);
  inside_row(to, x, y, inside);
  if (inside == count) return;
  int16_t next[kSlack] = {};
  if (y + 1 < size_.height) inside_row(next, 0, y + 1, 1);
  to[inside] = next[0];
}

void Guide::prefetch(int32_t x, int32_t y, int32_t count) const {
  constexpr int32_t kLine = 64;  // bytes
  const int32_t first = columns_.starts[static_cast<size_t>(x)];
  const int32_t last = columns_.starts[static_cast<size_t>(std::min(x + count, size_.width) - 1)];
  const BrightnessRows& rows = rows_[static_cast<size_t>(y)];
  for (int32_t i = first; i < last + kLine; i += kLine) {
    __builtin_prefetch(rows.upper + std::min(i, last));
    __builtin_prefetch(rows.lower + std::min(i, last));
  }
}

void Guide::inside_row(int16_t* to, int32_t x, int32_t y, int32_t count) const {
  const BrightnessRows& rows = rows_[static_cast<size_t>(y)];
  imgproc::scaled_brightness(to, rows, columns_, x, count);
  auto uneven = std::lower_bound(uneven_.begin(), uneven_.end(), x,
                                 [](const Uneven& u, int32_t column) { return u.x < column; });
  for (; uneven != uneven_.end() && uneven->x < x + count; ++uneven) {
    to[uneven->x - x] = uneven_brightness(rows, *uneven);
  }
}

int16_t Guide::uneven_brightness(const BrightnessRows& rows, const Uneven& column) const {
  const int64_t last = photo_.cols - 1;
  const int64_t left = clamped(imgproc::centred_place(across_, column.x), last).first;
  const int64_t right = std::min(left + 1, last);
  int32_t squares = 0;
  for (int32_t i = 0; i < kChannels; ++i) {
    const auto across = [&](const uint8_t* row) {
      return (row[kChannels * left + i] * column.left_weight +
              row[kChannels * right + i] * column.right_weight) >>
             4;
    };
    const int32_t upper = across(rows.upper) * rows.upper_weight >> 16;
    const int32_t lower = across(rows.lower) * rows.lower_weight >> 16;
    const int32_t value = (upper + lower + 2) >> 2;
    squares += value * value;
  }
  return static_cast<int16_t>(std::sqrt(static_cast<float>(squares)));
}

}  // namespace kel::mask
