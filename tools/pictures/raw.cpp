#include <cstring>

#include "pictures/codecs.h"
#include "pictures/failure.h"

namespace tool {
namespace {

std::string describe(const RawLayout& layout, size_t stride) {
  return "a " + to_string(layout.size) + " " + std::string(format_of(layout.format).name) +
         " frame with rows of " + std::to_string(stride) + " bytes";
}

}  // namespace

Picture decode_raw(std::span<const uint8_t> file, const RawLayout& layout) {
  Picture picture(layout.format, layout.size);
  const int planes = format_of(layout.format).planes;
  const size_t longest_row = std::max(picture.row_bytes(0), planes == 2 ? picture.row_bytes(1) : 0);
  if (layout.stride != 0 &&
      static_cast<int64_t>(layout.stride) < static_cast<int64_t>(longest_row)) {
    throw Failure("a stride of " + std::to_string(layout.stride) + " is too small; rows of " +
                  to_string(layout.size) + " " + std::string(format_of(layout.format).name) +
                  " have " + std::to_string(longest_row) + " bytes");
  }
  const auto stride_of = [&](int plane) {
    return layout.stride != 0 ? static_cast<size_t>(layout.stride) : picture.row_bytes(plane);
  };
  size_t expected = 0;
  for (int plane = 0; plane < planes; ++plane) {
    expected += stride_of(plane) * static_cast<size_t>(picture.rows(plane));
  }
  if (file.size() != expected) {
    throw Failure("the file has " + std::to_string(file.size()) + " bytes; " +
                  describe(layout, stride_of(0)) + " has " + std::to_string(expected));
  }
  const uint8_t* from = file.data();
  for (int plane = 0; plane < planes; ++plane) {
    for (int y = 0; y < picture.rows(plane); ++y, from += stride_of(plane)) {
      std::memcpy(picture.row(y, plane), from, picture.row_bytes(plane));
    }
  }
  return picture;
}

}  // namespace tool
