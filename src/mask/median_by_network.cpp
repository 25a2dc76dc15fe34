#include "mask/median_by_network.h"

#include <algorithm>
#include <array>

#include "core/kernels/median_row_by_network.h"

namespace kel::mask {
namespace {

using imageprocess::kNetworkChunk;

constexpr int kMostChunks = 1024;

}  // namespace

bool fits_network(int32_t columns) {
  return columns >= kNetworkChunk + 4 && columns <= kNetworkChunk * kMostChunks;
}

void median_by_network(const cv::Mat& src, cv::Mat& dst, int32_t ksize) {
  std::array<uint8_t, kMostChunks> runs{};
  const int32_t radius = ksize / 2;
  for (int32_t y = -2 * radius; y < src.rows; ++y) {
    imageprocess::NetworkRow row{{}, src.cols, runs.data(), y < 0 ? nullptr : dst.ptr(y)};
    for (int32_t i = 0; i < ksize; ++i) {
      row.rows[i] = src.ptr(std::clamp(y - radius + i, 0, src.rows - 1));
    }
    imageprocess::median_row_by_network(row, ksize);
  }
}

}  // namespace kel::mask
