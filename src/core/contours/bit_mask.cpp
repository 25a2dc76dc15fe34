#include "core/contours/bit_mask.h"

#include "core/kernels/bits_of_row.h"

namespace kel {

BitMask::BitMask(const imageprocess::Plane& gray, uint8_t level)
    : BitMask(static_cast<int>(gray.row_bytes), static_cast<int>(gray.rows),
              words_of(gray.row_bytes)) {
  for (int y = 0; y < height_; ++y) imageprocess::bits_above(row(y), gray.row(y), width_, level);
}

BitMask::BitMask(const cv::Mat& gray, uint8_t level)
    : BitMask(gray.cols, gray.rows, words_of(gray.cols)) {
  for (int y = 0; y < height_; ++y) imageprocess::bits_above(row(y), gray.ptr(y), width_, level);
}

void BitMask::write(cv::Mat& gray) const {
  for (int y = 0; y < height_; ++y) imageprocess::bytes_of_bits(gray.ptr(y), row(y), width_);
}

}  // namespace kel
