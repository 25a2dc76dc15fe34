#include "mask/mk_blur.h"

#include "mask/bilateral.h"
#include "mask/caller_mat.h"
#include "mask/gaussian.h"
#include "mask/mean.h"
#include "mask/median.h"
#include "mask/opencv_limits.h"

namespace kel::mask {
uint32_t mk_blur(const KelPixelRegion& src, const KelPixelRegion& dst, uint32_t ksize, MKBlur type,
                 uint32_t param1, uint32_t param2) {
  if (ksize > 200 || ksize % 2 == 0) return MVK_BAD_ARGUMENT;
  if (src.format != QX_FMT_GRAY && src.format != QX_FMT_RGB24) return MVK_BAD_ARGUMENT;
  if (type > MKBlur::Bilateral || dst.format != src.format) return MVK_BAD_ARGUMENT;
  if (!sides_fit(src.width, src.height)) return MVK_OK;
  const int pixel_type = matrix_type(src.format);
  cv::Mat out = packed_mat(dst, pixel_type);
  use_blur(source_mat(src, dst, pixel_type), out, static_cast<int32_t>(ksize), type, param1,
           param2);
  return MVK_OK;
}

void use_blur(const cv::Mat& in, cv::Mat& out, int32_t ksize, MKBlur type, uint32_t param1,
              uint32_t param2) {
  switch (type) {
    case MKBlur::Mean:
      return mean(in, out, ksize);
    case MKBlur::Median:
      return median(in, out, ksize);
    case MKBlur::Gaussian:
      return gaussian(in, out, ksize, param1, param2);
    case MKBlur::Bilateral:
      return bilateral(in, out, ksize, param1, param2);
  }
}

}  // namespace kel::mask
