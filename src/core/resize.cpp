#include "core/resize.h"

#include "core/copy.h"
#include "core/mat_view.h"
#include "core/resample/scaling.h"

namespace kel::imgproc {
namespace {

using kel::imageprocess::InterpolationMethod;

kel::imageprocess::Plane plane_of(const cv::Mat& image) {
  const auto row_bytes = static_cast<int64_t>(image.elemSize()) * image.cols;
  return {image.data, row_bytes, image.rows, static_cast<int64_t>(image.step[0])};
}

// Methods turn into one another: linear at exactly one half takes means of blocks, and areas are
// enlarged by mixing two pixels.
void scale(const Scaling& scaling, InterpolationMethod method) {
  const int64_t width = scaling.x.whole_scale();
  const int64_t height = scaling.y.whole_scale();
  const bool covers = scaling.x.scale >= 1 && scaling.y.scale >= 1;
  switch (method) {
    case InterpolationMethod::kLinear:
      if (width == 2 && height == 2) return scale_by_blocks(scaling, width, height);
      if (enlarge_mask(scaling)) return;
      return scale_linear(scaling, centred_place);
    case InterpolationMethod::kCubic:
      return scale_cubic(scaling);
    case InterpolationMethod::kArea:
      if (!covers) return scale_linear(scaling, covering_place);
      if (width == 0 || height == 0) return scale_by_area(scaling);
      return scale_by_blocks(scaling, width, height);
    default:
      return scale_nearest(scaling);
  }
}

// Formats that are not moved count as one byte per pixel.
int plane_type(uint32_t format) {
  return kel::imageprocess::can_be_moved(format) ? matrix_type(format) : CV_8UC1;
}

}  // namespace

void resize_plane(cv::Mat& dst, const cv::Mat& src, InterpolationMethod method) {
  if (dst.empty() || src.empty()) return;
  if (dst.size() == src.size()) {
    kel::imageprocess::Plane to = plane_of(dst);
    return copy_rows(to, plane_of(src));
  }
  scale(Scaling(dst, src), method);
}

void resize(KelPixelRegion& dst, const KelPixelRegion& src, InterpolationMethod method) {
  const int type = plane_type(src.format);
  cv::Mat to = first_plane_mat(dst, type);
  resize_plane(to, first_plane_mat(src, type), method);
  if (!kel::imageprocess::is_two_plane(src.format)) return;
  cv::Mat chroma = chroma_mat(dst);
  resize_plane(chroma, chroma_mat(src), method);
}

}  // namespace kel::imgproc
