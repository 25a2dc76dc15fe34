/* What a user's first program does: a mask is grown and its box printed. Exits 0 when the box is
 * the one expected. */
#include <morvik/morvik.h>
#include <stdio.h>
#include <string.h>

int main(void) {
  static uint8_t pixels[32 * 32];
  static uint8_t grown[32 * 32];
  QX_OFFSCREEN mask = {QX_FMT_GRAY, 32, 32, {pixels}, {32}};
  QX_OFFSCREEN result = {QX_FMT_GRAY, 32, 32, {grown}, {32}};
  MKRect box;
  memset(pixels + 16 * 32 + 10, 255, 4);
  if (mvk_mask_morph(&result, &mask, 4) != MVK_OK) return 1;
  if (mvk_get_mask_roi(&result, &box, 128) != MVK_OK) return 1;
  printf("%s: box %u,%u to %u,%u\n", qxMorvik_version(), box.left, box.top, box.right, box.bottom);
  return box.left == 8 && box.top == 14 && box.right == 15 && box.bottom == 18 ? 0 : 1;
}
