// The record layouts that programs were compiled against, on 64-bit systems.
#include <gtest/gtest.h>

#include <cstddef>

#include "morvik/morvik.h"

namespace {

TEST(Interface, RecordLayouts) {
  static_assert(sizeof(QX_OFFSCREEN) == 64);
  static_assert(offsetof(QX_OFFSCREEN, format) == 0 && offsetof(QX_OFFSCREEN, width) == 4 &&
                offsetof(QX_OFFSCREEN, height) == 8 && offsetof(QX_OFFSCREEN, plane) == 16 &&
                offsetof(QX_OFFSCREEN, pitch) == 48);
  static_assert(sizeof(TPOINT) == 8 && offsetof(TPOINT, x) == 0 && offsetof(TPOINT, y) == 4);
  static_assert(sizeof(MKRect) == 16 && offsetof(MKRect, left) == 0 && offsetof(MKRect, top) == 4 &&
                offsetof(MKRect, right) == 8 && offsetof(MKRect, bottom) == 12);
  static_assert(sizeof(MKOutlineMode) == 40);
  static_assert(offsetof(MKOutlineMode, mode) == 0 && offsetof(MKOutlineMode, chain_approx) == 4 &&
                offsetof(MKOutlineMode, expand_size) == 8 &&
                offsetof(MKOutlineMode, smooth_level) == 12 &&
                offsetof(MKOutlineMode, approx_poly) == 16 &&
                offsetof(MKOutlineMode, center) == 24 && offsetof(MKOutlineMode, threshold) == 32);
  static_assert(sizeof(MKGetOutline) == 24);
  static_assert(offsetof(MKGetOutline, contour_count) == 0 &&
                offsetof(MKGetOutline, point_counts) == 8 && offsetof(MKGetOutline, points) == 16);
  static_assert(sizeof(MKBlur) == 4 && sizeof(MKOSmoothLevel) == 4);
}

}  // namespace
