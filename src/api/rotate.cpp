#include "core/rotate.h"

#include <limits>

#include "api/check.h"

uint32_t mvk_rotate(const QX_OFFSCREEN* dst, const QX_OFFSCREEN* src, int32_t angle) {
  using namespace mvk::api;
  if (const uint32_t code = check_pair(dst, src, kMovableFormats); code != MVK_OK) return code;
  if (const uint32_t code = check_same_format(*dst, *src); code != MVK_OK) return code;
  if (angle != 0 && angle != 90 && angle != 180 && angle != 270) return MVK_BAD_ARGUMENT;
  KelPixelRegion to = *dst;
  const KelPixelRegion from = *src;
  constexpr float kNoCentre = std::numeric_limits<float>::quiet_NaN();
  kel::imgproc::rotate(to, from, angle, {kNoCentre, kNoCentre},
                       kel::imageprocess::InterpolationMethod::kNearest, cv::BORDER_REPLICATE,
                       {{0, 0, 0, 0}}, 0.0);
  return MVK_OK;
}
