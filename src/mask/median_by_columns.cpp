#include "mask/median_by_columns.h"

#include <algorithm>
#include <array>
#include <vector>

#include "core/kernels/median_by_columns.h"
#include "core/row_bands.h"

namespace kel::mask {

void median_by_columns(const cv::Mat& src, cv::Mat& dst, int32_t ksize) {
  using imageprocess::kMedianRows;
  const int64_t count = int64_t{src.cols} * src.channels();
  for_each_band(src, kMedianRows, [&](const cv::Range& band) {
    std::vector<uint8_t> spare(static_cast<size_t>(count));  // takes the rows below the band
    for (int32_t y = band.start; y < band.end; y += kMedianRows) {
      std::array<const uint8_t*, 5 + kMedianRows - 1> rows{};
      for (int32_t i = 0; i < ksize + kMedianRows - 1; ++i) {
        rows[static_cast<size_t>(i)] = src.ptr(std::clamp(y - ksize / 2 + i, 0, src.rows - 1));
      }
      std::array<uint8_t*, kMedianRows> results{};
      for (int32_t i = 0; i < kMedianRows; ++i) {
        results[static_cast<size_t>(i)] = y + i < band.end ? dst.ptr(y + i) : spare.data();
      }
      imageprocess::median_by_columns(results.data(), rows.data(), count, src.channels(), ksize);
    }
  });
}

}  // namespace kel::mask
