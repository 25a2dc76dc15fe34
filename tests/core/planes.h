// The planes of an image as matrices, for judges that are OpenCV calls.
#pragma once

#include <opencv2/core.hpp>
#include <vector>

#include "support/test_image.h"

namespace test {

// ABGR is moved like ARGB.
inline const std::vector<uint32_t> kMovedFormats{QX_FMT_RGB24, QX_FMT_ARGB, QX_FMT_GRAY,
                                                 QX_FMT_NV12, QX_FMT_NV21};

// Matrix headers of the planes, rows by pitch; chroma as pairs, if there are any.
inline std::vector<cv::Mat> planes_of(const QX_OFFSCREEN& d) {
  const int type = d.format == QX_FMT_RGB24 ? CV_8UC3 : d.format == QX_FMT_ARGB ? CV_8UC4 : CV_8UC1;
  std::vector<cv::Mat> planes;
  planes.emplace_back(d.height, d.width, type, d.plane[0], static_cast<size_t>(d.pitch[0]));
  if (d.plane[1] != nullptr && d.width > 1 && d.height > 1) {
    planes.emplace_back(d.height / 2, d.width / 2, CV_8UC2, d.plane[1],
                        static_cast<size_t>(d.pitch[1]));
  }
  return planes;
}

}  // namespace test
