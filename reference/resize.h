// Scaling by OpenCV, where the linked version is the one whose results the library gives.
#pragma once

#include <opencv2/core/version.hpp>
#include <opencv2/imgproc.hpp>

#include "core/resize.h"

namespace as_written {

#if defined(__x86_64__) && CV_VERSION_MAJOR == 4 && CV_VERSION_MINOR == 6
inline constexpr bool kOpenCvScalesAlike = true;
#else
inline constexpr bool kOpenCvScalesAlike = false;
#endif

// Elsewhere the library's own scaling stands in as a step of longer chains.
inline cv::Mat scaled(const cv::Mat& src, cv::Size size) {
  cv::Mat dst(size, src.type());
  if (kOpenCvScalesAlike) {
    cv::resize(src, dst, size, 0, 0, cv::INTER_LINEAR);
  } else {
    kel::imgproc::resize_plane(dst, src, kel::imageprocess::InterpolationMethod::kLinear);
  }
  return dst;
}

}  // namespace as_written
