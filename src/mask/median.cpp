#include "mask/median.h"

#include <opencv2/imgproc.hpp>

#include "mask/median_by_counts.h"
#include "mask/median_by_network.h"
#include "mask/opencv_limits.h"

namespace kel::mask {

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

}  // namespace kel::mask
