/* The size of each record of the interface and the offsets of its fields, as the compiler of the
 * library lays them out: a text of JSON inside an object file, which also a cross compiler makes.
 */
#include <morvik/morvik.h>
#include <stddef.h>

#define NUMBER(n) \
  (n) < 100 ? ' ' : '0' + (n) / 100, (n) < 10 ? ' ' : '0' + (n) / 10 % 10, '0' + (n) % 10
#define SIZE(record) NUMBER(sizeof(record))
#define FIELD(record, field) ',', NUMBER(offsetof(record, field))

/* clang-format off */
const char morvik_layout[] = {
    'l', 'a', 'y', 'o', 'u', 't', ':', '[',
    '[', SIZE(QX_OFFSCREEN), FIELD(QX_OFFSCREEN, format), FIELD(QX_OFFSCREEN, width),
    FIELD(QX_OFFSCREEN, height), FIELD(QX_OFFSCREEN, plane), FIELD(QX_OFFSCREEN, pitch), ']', ',',
    '[', SIZE(TPOINT), FIELD(TPOINT, x), FIELD(TPOINT, y), ']', ',',
    '[', SIZE(MKRect), FIELD(MKRect, left), FIELD(MKRect, top), FIELD(MKRect, right),
    FIELD(MKRect, bottom), ']', ',',
    '[', SIZE(MKOutlineMode), FIELD(MKOutlineMode, mode), FIELD(MKOutlineMode, chain_approx),
    FIELD(MKOutlineMode, expand_size), FIELD(MKOutlineMode, smooth_level),
    FIELD(MKOutlineMode, approx_poly), FIELD(MKOutlineMode, center),
    FIELD(MKOutlineMode, threshold), ']', ',',
    '[', SIZE(MKGetOutline), FIELD(MKGetOutline, contour_count), FIELD(MKGetOutline, point_counts),
    FIELD(MKGetOutline, points), ']', ']', '\n', 0};
/* clang-format on */
