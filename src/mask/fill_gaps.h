#pragma once

#include <cstdint>
#include <opencv2/core.hpp>

namespace kel::mask {

// Same as fill_enclosed() of the pixels of src above `level`, written to dst as 0 and 255, for
// masks whose rows are few runs: it goes by those and needs little memory, which costs a large part
// of the time when it is new. CV_8UC1 matrices of one size, which may be the same. Returns false,
// with dst as it was, if there are too many runs or an enclosed area may exceed `large` pixels.
bool fill_gaps(const cv::Mat& src, cv::Mat& dst, uint8_t level, int64_t large);

}  // namespace kel::mask
