/* The exported header alone, as C99 and as C++11: records, constants and calls are usable, and the
 * enumerations have 32 bits in both languages. */
#include <morvik/morvik.h>

typedef char blur_is_32_bits[sizeof(MKBlur) == 4 ? 1 : -1];
typedef char level_is_32_bits[sizeof(MKOSmoothLevel) == 4 ? 1 : -1];

int use_header(void);
int use_header(void) {
  QX_OFFSCREEN image = {QX_FMT_GRAY, 1, 1, {0, 0, 0, 0}, {1, 0, 0, 0}};
  MKGetOutline outlines = {0, 0, 0};
  MKOutlineMode mode = {MK_OMODE_POLAR, MK_OCHAIN_SIMPLE, 12, MK_OSMOOTH_3, 1, 0, 127};
  MKRect box;
  void* handle = mvk_outline_create();
  uint32_t code = mvk_outline_expansion(handle, &image, &mode, &outlines);
  mvk_outline_destroy(handle, &outlines);
  return code == MVK_BAD_ARGUMENT && mvk_get_mask_roi(&image, &box, 128) == MVK_BAD_ARGUMENT;
}
