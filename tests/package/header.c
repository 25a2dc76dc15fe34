/* The exported header alone, as C99 and as C++11: constants are usable, and records have the layout
 * that programs were compiled against, on 64-bit systems the same in both languages. */
#include <morvik/morvik.h>
#include <stddef.h>

#define HOLDS(name, condition) typedef char name[(condition) ? 1 : -1]
HOLDS(enumerations, sizeof(MKBlur) == 4 && sizeof(MKOSmoothLevel) == 4);
HOLDS(image, sizeof(QX_OFFSCREEN) == 64 && offsetof(QX_OFFSCREEN, format) == 0 &&
                 offsetof(QX_OFFSCREEN, width) == 4 && offsetof(QX_OFFSCREEN, height) == 8 &&
                 offsetof(QX_OFFSCREEN, plane) == 16 && offsetof(QX_OFFSCREEN, pitch) == 48);
HOLDS(point, sizeof(TPOINT) == 8 && offsetof(TPOINT, x) == 0 && offsetof(TPOINT, y) == 4);
HOLDS(box, sizeof(MKRect) == 16 && offsetof(MKRect, left) == 0 && offsetof(MKRect, top) == 4 &&
               offsetof(MKRect, right) == 8 && offsetof(MKRect, bottom) == 12);
HOLDS(mode, sizeof(MKOutlineMode) == 40 && offsetof(MKOutlineMode, mode) == 0 &&
                offsetof(MKOutlineMode, chain_approx) == 4 &&
                offsetof(MKOutlineMode, expand_size) == 8 &&
                offsetof(MKOutlineMode, smooth_level) == 12 &&
                offsetof(MKOutlineMode, approx_poly) == 16 &&
                offsetof(MKOutlineMode, center) == 24 && offsetof(MKOutlineMode, threshold) == 32);
HOLDS(outlines, sizeof(MKGetOutline) == 24 && offsetof(MKGetOutline, contour_count) == 0 &&
                    offsetof(MKGetOutline, point_counts) == 8 &&
                    offsetof(MKGetOutline, points) == 16);

extern const MKOutlineMode kMode;
const MKOutlineMode kMode = {MK_OMODE_POLAR, MK_OCHAIN_SIMPLE, 12, MK_OSMOOTH_3, 1, 0, 127};
