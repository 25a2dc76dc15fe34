#include "mask/mk_blur.h"

#include <algorithm>
#include <limits>
#include <opencv2/imgproc.hpp>

#include "mask/caller_mat.h"
#include "mask/median_by_counts.h"
#include "mask/median_by_network.h"

namespace kel::mask {
namespace {

// OpenCV counts the bytes that a filter works on in an int and goes astray where they are more.
bool fits_int(int64_t bytes) { return bytes <= std::numeric_limits<int>::max(); }

}  // namespace

void median(const cv::Mat& in, cv::Mat& out, int32_t ksize) {
  // Up to here sorting in vectors costs less than counting.
  constexpr int32_t kLargestNetwork = 5;
  const bool gray = in.type() == CV_8UC1;
  if (gray && ksize > kLargestNetwork) return median_by_counts(in, out, ksize);
  if (gray && ksize >= 3 && fits_network(in.cols)) return median_by_network(in, out, ksize);
  const bool sorts = ksize == 3 || ksize == 5;
  if (sorts && !fits_int(int64_t{in.rows} * in.cols * in.channels())) return;
  cv::medianBlur(in, out, ksize);
}

uint32_t mk_blur(const KelPixelRegion& src, const KelPixelRegion& dst, uint32_t ksize, MKBlur type,
                 uint32_t param1, uint32_t param2) {
  if (ksize > 200 || ksize % 2 == 0) return MVK_BAD_ARGUMENT;
  if (src.format != QX_FMT_GRAY && src.format != QX_FMT_RGB24) return MVK_BAD_ARGUMENT;
  if (type > MKBlur::Bilateral || dst.format != src.format) return MVK_BAD_ARGUMENT;
  if (!sides_fit(src.width, src.height)) return MVK_OK;
  const int pixel = src.format == QX_FMT_GRAY ? CV_8UC1 : CV_8UC3;
  cv::Mat out = packed_mat(dst, pixel);
  use_blur(source_mat(src, dst, pixel), out, static_cast<int32_t>(ksize), type, param1, param2);
  return MVK_OK;
}

void use_blur(const cv::Mat& in, cv::Mat& out, int32_t ksize, MKBlur type, uint32_t param1,
              uint32_t param2) {
  constexpr int kMirrored = cv::BORDER_REFLECT_101;
  const int64_t row = int64_t{in.cols} * in.channels();
  switch (type) {
    case MKBlur::Mean: {
      constexpr int64_t kAlignment = 64;
      const int64_t bytes_of_sum = ksize * ksize <= 256 ? 2 : 4;
      if (!fits_int((row + kAlignment) * bytes_of_sum * (ksize + 3))) return;
      return cv::blur(in, out, cv::Size(ksize, ksize), cv::Point(-1, -1), kMirrored);
    }
    case MKBlur::Median:
      return median(in, out, ksize);
    case MKBlur::Gaussian:
      if (!fits_int(row * ksize)) return;
      return cv::GaussianBlur(in, out, cv::Size(ksize, ksize), param1, param2, kMirrored);
    case MKBlur::Bilateral: {  // offsets from the middle of a window to its end
      const int64_t radius = std::max(ksize / 2, 1);
      if (!fits_int((row + 2 * radius * in.channels()) * (radius + 1))) return;
      return cv::bilateralFilter(in, out, ksize, param1, param2, kMirrored);
    }
  }
}

}  // namespace kel::mask
