#include <libyuv/convert_from.h>

#include <algorithm>
#include <cstring>

#include "pictures/codecs.h"
#include "pictures/failure.h"

namespace tool {
namespace {

// Where a plane lies in a frame, in bytes.
struct Plane {
  size_t start, stride, row, rows;
  size_t end() const { return start + stride * rows; }
  size_t last_byte() const { return end() - stride + row; }
};

std::string name_of(const RawLayout& layout) {
  return to_string(layout.size) + " " + (layout.i420 ? "i420" : format_name(layout.format));
}

size_t checked_stride(const RawLayout& layout, std::optional<int> given, size_t packed, size_t row,
                      const char* option) {
  if (!given) return packed;
  if (static_cast<size_t>(*given) >= row) return static_cast<size_t>(*given);
  throw Failure(std::string(option) + " " + std::to_string(*given) + " is too small; rows of " +
                name_of(layout) + " have " + std::to_string(row) + " bytes");
}

// A stride counts for both planes of pairs, as they are equally wide; half of it for I420's.
size_t default_chroma_stride(const RawLayout& layout, size_t row) {
  if (!layout.stride) return row;
  const auto stride = static_cast<size_t>(*layout.stride);
  return layout.i420 ? (stride + 1) / 2 : stride;
}

size_t chroma_start(const RawLayout& layout, size_t luma_end) {
  if (!layout.offset_uv) return luma_end;
  if (static_cast<size_t>(*layout.offset_uv) >= luma_end) {
    return static_cast<size_t>(*layout.offset_uv);
  }
  throw Failure("--offset-uv " + std::to_string(*layout.offset_uv) +
                " lies within the brightness, which ends at " + std::to_string(luma_end));
}

std::vector<Plane> planes_of_layout(const RawLayout& layout) {
  const auto side = [](int value) { return static_cast<size_t>(value); };
  const Size size = layout.size;
  check_size(size.width, size.height);
  const bool chroma = planes_of(layout.format) == 2;
  const size_t width = side(size.width);
  const size_t pairs = (width + 1) / 2;
  size_t row = width;
  if (!chroma) row = Picture(layout.format, {size.width, 1}).row_bytes();
  const size_t stride = checked_stride(layout, layout.stride, row, row, "--stride");
  std::vector<Plane> planes{{0, stride, row, side(size.height)}};
  if (!chroma) return planes;
  const size_t uv_row = layout.i420 ? pairs : 2 * pairs;
  const size_t uv_stride = checked_stride(
      layout, layout.stride_uv, default_chroma_stride(layout, uv_row), uv_row, "--stride-uv");
  if (uv_stride < uv_row) checked_stride(layout, layout.stride, 0, uv_row, "--stride");
  const size_t uv_rows = side((size.height + 1) / 2);
  planes.push_back({chroma_start(layout, planes[0].end()), uv_stride, uv_row, uv_rows});
  if (layout.i420) planes.push_back({planes[1].end(), uv_stride, uv_row, uv_rows});
  return planes;
}

Picture joined(const uint8_t* frame, const std::vector<Plane>& planes, Size size) {
  Picture picture(QX_FMT_NV12, size);
  const auto stride = [&](size_t plane) { return static_cast<int>(planes[plane].stride); };
  libyuv::I420ToNV12(frame, stride(0), frame + planes[1].start, stride(1), frame + planes[2].start,
                     stride(2), picture.row(0), static_cast<int>(picture.row_bytes()),
                     picture.row(0, 1), static_cast<int>(picture.row_bytes(1)), size.width,
                     size.height);
  return picture;
}

}  // namespace

FrameBytes frame_bytes(const RawLayout& layout) {
  const std::vector<Plane> planes = planes_of_layout(layout);
  return {planes.back().end(), planes.back().last_byte()};
}

std::string describe(const RawLayout& layout) {
  return "a " + name_of(layout) + " frame with rows of " +
         std::to_string(planes_of_layout(layout)[0].stride) + " bytes";
}

Picture decode_raw(std::span<const uint8_t> frame, const RawLayout& layout) {
  const std::vector<Plane> planes = planes_of_layout(layout);
  if (frame.size() < planes.back().last_byte() || frame.size() > planes.back().end()) {
    throw Failure("the file has " + std::to_string(frame.size()) + " bytes; " + describe(layout) +
                  " has " + std::to_string(planes.back().end()));
  }
  if (layout.i420) return joined(frame.data(), planes, layout.size);
  Picture picture(layout.format, layout.size);
  for (size_t i = 0; i < planes.size(); ++i) {
    const uint8_t* from = frame.data() + planes[i].start;
    for (size_t y = 0; y < planes[i].rows; ++y, from += planes[i].stride) {
      std::memcpy(picture.row(static_cast<int>(y), static_cast<int>(i)), from, planes[i].row);
    }
  }
  return picture;
}

}  // namespace tool
