#include "mask/mask_smooth.h"

#include <algorithm>

#include "core/resample/enlarge.h"
#include "core/resize.h"
#include "core/saturate.h"
#include "mask/binarise.h"
#include "mask/caller_mat.h"
#include "mask/majority.h"
#include "mask/make_edge_add.h"
#include "mask/median.h"
#include "mask/opencv_limits.h"

namespace kel::mask {
namespace {

constexpr uint8_t kSure = 250;        // pixels above this are inside
constexpr uint32_t kSnapRadius = 12;  // working pixels
constexpr int kFullSizeMedian = 15;   // side, independent of ksize

// The integer nearest to limit / larger side, in single precision.
int32_t working_scale(uint32_t limit, int32_t larger_side) {
  return saturate_to_int32(static_cast<float>(limit) / static_cast<float>(larger_side) + 0.5F);
}

void enlarge(cv::Mat& dst, const cv::Mat& src) {
  imgproc::resize_plane(dst, src, imageprocess::InterpolationMethod::kLinear);
}

// In bands, whose rows are filtered while they are in the cache.
void smooth_at_full_size(const cv::Mat& mask, cv::Mat& dst) {
  constexpr int kReach = kFullSizeMedian / 2;
  const auto filter = [&](const cv::Mat& rows, const cv::Range& band) {
    cv::Mat filtered(rows.size(), CV_8UC1);
    median(rows, filtered, kFullSizeMedian);
    const int above = std::min(band.start, kReach);
    cv::Mat to = dst.rowRange(band);
    filtered.rowRange(above, above + band.size()).copyTo(to);
  };
  if (imgproc::for_each_enlarged_band(mask, dst, kReach, filter)) return;
  cv::Mat enlarged(dst.size(), CV_8UC1);
  enlarge(enlarged, mask);
  median(enlarged, dst, kFullSizeMedian);
}

// A mask without contours has nothing to snap.
void smooth_snapped(const BitMask& mask, const cv::Mat& photo, cv::Mat& dst, int32_t ksize) {
  const cv::Size size(mask.width(), mask.height());
  cv::Mat work(size, CV_8UC1);
  if (make_edge_add(work, mask, kSnapRadius, Guide(photo, size)) != MVK_OK) mask.write(work);
  cv::Mat rounded(size, CV_8UC1);
  median(work, rounded, ksize);
  work.release();
  enlarge(dst, rounded);
}

void smooth_binary(const BitMask& mask, cv::Mat& dst, int32_t ksize) {
  if (ksize == 1) return imgproc::enlarge(dst, mask);
  if (ksize <= kLargestMajorityWindow) return imgproc::enlarge(dst, majority(mask, ksize));
  cv::Mat work(mask.height(), mask.width(), CV_8UC1);
  mask.write(work);
  cv::Mat rounded(work.size(), CV_8UC1);
  median(work, rounded, ksize);
  enlarge(dst, rounded);
}

}  // namespace

uint32_t mask_smooth(const KelPixelRegion& mask, const KelPixelRegion& dst,
                     const KelPixelRegion& guide, uint32_t mode, uint32_t limit, uint32_t ksize) {
  if (ksize > 200 || ksize % 2 == 0) return kUnusableSize;
  return use_opencv(dst, mask, ksize, guide, mode, limit);
}

uint32_t use_opencv(const KelPixelRegion& dst, const KelPixelRegion& mask, uint32_t ksize,
                    const KelPixelRegion& guide, uint32_t mode, uint32_t limit) {
  const cv::Mat coarse = source_mat(mask, dst, CV_8UC1);
  cv::Mat smooth = packed_mat(dst, CV_8UC1);
  if (limit >= static_cast<uint32_t>(std::max(dst.width, dst.height))) {
    if (sides_fit(dst.width, dst.height)) smooth_at_full_size(coarse, smooth);
    return MVK_OK;
  }

  const int64_t scale = working_scale(limit, std::max(mask.width, mask.height));
  if (scale < 1) return MVK_BAD_ARGUMENT;
  const int64_t width = mask.width * scale;
  const int64_t height = mask.height * scale;
  if (!sides_fit(width, height) || !sides_fit(dst.width, dst.height)) return MVK_OK;
  const cv::Size working(static_cast<int>(width), static_cast<int>(height));

  cv::Mat binary(coarse.size(), CV_8UC1);
  binarise(coarse, binary, kSure);
  const BitMask work = imgproc::enlarged_above(binary, working, kSure);
  if (mode == 1) {
    smooth_snapped(work, packed_mat(guide, CV_8UC3), smooth, static_cast<int32_t>(ksize));
  } else {
    smooth_binary(work, smooth, static_cast<int32_t>(ksize));
  }
  return MVK_OK;
}

}  // namespace kel::mask
