#include "core/resize.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <limits>
#include <opencv2/imgproc.hpp>

#include "core/mat_view.h"

namespace kel::imgproc {
namespace {

using kel::imageprocess::InterpolationMethod;

int opencv_method(InterpolationMethod method) {
  switch (method) {
    case InterpolationMethod::kLinear:
      return cv::INTER_LINEAR;
    case InterpolationMethod::kCubic:
      return cv::INTER_CUBIC;
    case InterpolationMethod::kArea:
      return cv::INTER_AREA;
    default:
      return cv::INTER_NEAREST;
  }
}

// OpenCV keeps offsets within a row, and for the area method within a block of rows, in int.
bool is_too_large(const cv::Mat& dst, const cv::Mat& src, int method) {
  constexpr int64_t kMaxSide = std::numeric_limits<int>::max() / 16;
  for (const cv::Mat* plane : {&dst, &src}) {
    if (int64_t{plane->cols} * plane->channels() > kMaxSide || plane->rows > kMaxSide) return true;
  }
  if (method != cv::INTER_AREA) return false;
  const int64_t block_rows = (int64_t{src.rows} + dst.rows - 1) / dst.rows;
  return block_rows > std::numeric_limits<int>::max() / static_cast<int64_t>(src.step[0]);
}

// cv::resize with INTER_NEAREST for pairs of bytes, without its read of the two bytes in front of
// the plane: dst(x) = src(min(floor(x / scale), last)), in this order of operations. Rows are
// spread over OpenCV's threads as that call spreads them.
class NearestPairs : public cv::ParallelLoopBody {
 public:
  NearestPairs(cv::Mat& dst, const cv::Mat& src)
      : dst_(dst),
        src_(src),
        step_x_(1.0 / (static_cast<double>(dst.cols) / src.cols)),
        step_y_(1.0 / (static_cast<double>(dst.rows) / src.rows)) {}

  void operator()(const cv::Range& rows) const override {
    constexpr int kChunk = 512;
    std::array<uint32_t, kChunk> offsets;  // of the columns of one chunk
    for (int left = 0; left < dst_.cols; left += kChunk) {
      const int count = std::min(kChunk, dst_.cols - left);
      for (int x = 0; x < count; ++x) {
        const double from = std::min(std::floor((left + x) * step_x_), src_.cols - 1.0);
        offsets[static_cast<size_t>(x)] = 2 * static_cast<uint32_t>(from);
      }
      for (int y = rows.start; y < rows.end; ++y) {
        const double from = std::min(std::floor(y * step_y_), src_.rows - 1.0);
        const uint8_t* in = src_.ptr(static_cast<int>(from));
        uint8_t* out = dst_.ptr(y) + ptrdiff_t{2} * left;
        for (int x = 0; x < count; ++x) {
          std::memcpy(out + ptrdiff_t{2} * x, in + offsets[static_cast<size_t>(x)], 2);
        }
      }
    }
  }

 private:
  cv::Mat& dst_;
  const cv::Mat& src_;
  double step_x_;
  double step_y_;
};

void resize_plane(cv::Mat dst, const cv::Mat& src, int method) {
  if (dst.empty() || src.empty() || is_too_large(dst, src, method)) return;
  if (method == cv::INTER_NEAREST && src.elemSize() == 2) {
    constexpr double kPairsOfAShare = 1 << 16;
    cv::parallel_for_({0, dst.rows}, NearestPairs(dst, src),
                      static_cast<double>(dst.total()) / kPairsOfAShare);
  } else {
    cv::resize(src, dst, dst.size(), 0, 0, method);
  }
}

// Formats that are not moved count as one byte per pixel.
int plane_type(uint32_t format) {
  return kel::imageprocess::can_be_moved(format) ? matrix_type(format) : CV_8UC1;
}

}  // namespace

void resize(KelPixelRegion& dst, const KelPixelRegion& src, InterpolationMethod method) {
  const int interpolation = opencv_method(method);
  const int type = plane_type(src.format);
  resize_plane(first_plane_mat(dst, type), first_plane_mat(src, type), interpolation);
  if (kel::imageprocess::is_two_plane(src.format)) {
    resize_plane(chroma_mat(dst), chroma_mat(src), interpolation);
  }
}

}  // namespace kel::imgproc
