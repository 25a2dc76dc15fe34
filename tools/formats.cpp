#include "formats.h"

#include <algorithm>

#include "core/format.h"
#include "pictures/alpha.h"

namespace tool {
namespace {

// Rows of the header's table of conversions.
bool has_conversion(uint32_t to, uint32_t from) {
  const bool pairs = planes_of(to) == 2 || planes_of(from) == 2;
  return pairs || (to != QX_FMT_ABGR && from != QX_FMT_ABGR);
}

// Turning and scaling leave the odd last column and row of two-plane frames alone; cut them off, so
// that the result has none that was never written.
Picture cut_to_even(const Picture& picture) {
  const Size even{picture.width() & ~1, picture.height() & ~1};
  if (planes_of(picture.format()) == 1 || even == picture.size()) return picture;
  Picture cut(picture.format(), even);
  for (int plane = 0; plane < 2; ++plane) {
    for (int y = 0; y < cut.rows(plane); ++y) {
      std::copy_n(picture.row(y, plane), cut.row_bytes(plane), cut.row(y, plane));
    }
  }
  return cut;
}

void refuse_abgr(const Picture& picture) {
  if (!kel::imageprocess::can_be_moved(picture.format())) {
    throw Failure("abgr frames can only be converted; to nv12 or nv21, for instance");
  }
}

// Left and right swapped, in a format of one plane.
void mirror(Picture& picture) {
  const size_t bytes = picture.row_bytes() / static_cast<size_t>(picture.width());
  for (int y = 0; y < picture.height(); ++y) {
    uint8_t* left = picture.row(y);
    uint8_t* right = left + picture.row_bytes() - bytes;
    for (; left < right; left += bytes, right -= bytes) std::swap_ranges(left, left + bytes, right);
  }
}

Picture scaled(const Picture& source, Size size, uint32_t method, Session& session) {
  Picture result(source.format(), size);
  session.call("mvk_resize",
               [&] { return mvk_resize(result.view().record(), source.view().record(), method); });
  return result;
}

}  // namespace

Picture to_format(Picture picture, uint32_t format, Session& session) {
  if (picture.format() == format) return picture;
  if (!has_conversion(format, picture.format())) {
    throw Failure("there is no conversion from " + format_name(picture.format()) + " to " +
                  format_name(format));
  }
  Picture converted(format, picture.size());
  session.call("mvk_convert",
               [&] { return mvk_convert(converted.view().record(), picture.view().record()); });
  return converted;
}

Picture rotated(const Picture& picture, int angle, Session& session) {
  refuse_abgr(picture);
  const Picture even = cut_to_even(picture);
  const bool swap = angle % 180 != 0;
  Picture turned(even.format(), swap ? Size{even.height(), even.width()} : even.size());
  session.call("mvk_rotate",
               [&] { return mvk_rotate(turned.view().record(), even.view().record(), angle); });
  return turned;
}

Picture upright(Picture picture, int orientation, Session& session) {
  // What is left to turn once the mirrored ones are mirrored back: 5 and 7 lie on their sides.
  constexpr int kAngles[] = {0, 0, 180, 180, 270, 90, 90, 270};
  const int angle = kAngles[orientation - 1];
  if (orientation == 2 || orientation == 4 || orientation == 5 || orientation == 7) mirror(picture);
  return angle == 0 ? std::move(picture) : rotated(picture, angle, session);
}

Picture resized(const Picture& picture, Size size, uint32_t method, Session& session) {
  refuse_abgr(picture);
  const bool pairs = planes_of(picture.format()) == 2;
  if (pairs && (size.width % 2 != 0 || size.height % 2 != 0)) {
    throw Failure("nv12 and nv21 frames have even sizes; " + to_string(size) + " is odd");
  }
  if (pairs) return scaled(cut_to_even(picture), size, method, session);
  if (!alpha_varies(picture)) return scaled(picture, size, method, session);
  // Colours count as much as they are seen, or those of transparent pixels would show at edges.
  Picture weighted = picture;
  multiply_by_alpha(weighted);
  Picture result = scaled(weighted, size, method, session);
  divide_by_alpha(result);
  return result;
}

}  // namespace tool
