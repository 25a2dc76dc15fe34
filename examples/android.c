/* Android's YUV_420_888 as NV21, upright, in blue, green, red: three planes with a row and a pixel
 * stride each, as an app gets them. Prints the colour of the middle of a frame made up here. */
#include <morvik/morvik.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

//! [android]
/* What Image.getPlanes() says; plane 0 is Y, 1 is U, 2 is V. Y has a pixel stride of 1. */
struct plane {
  uint8_t* pixels;
  int row_stride;
  int pixel_stride;
};

/* Describes the frame as NV21 or NV12 where it is one already, without a copy; else packs V, U
 * pairs into scratch, which has ((width + 1) / 2) * ((height + 1) / 2) * 2 bytes. */
QX_OFFSCREEN android_frame(const struct plane planes[3], int width, int height, uint8_t* scratch) {
  const struct plane *u = &planes[1], *v = &planes[2];
  const int columns = (width + 1) / 2, rows = (height + 1) / 2;
  QX_OFFSCREEN frame = {QX_FMT_NV21, width, height, {NULL}, {0}};
  int x, y;
  frame.plane[0] = planes[0].pixels;
  frame.pitch[0] = planes[0].row_stride;
  if (u->pixel_stride == 2 && v->pixel_stride == 2 && u->row_stride == v->row_stride) {
    frame.pitch[1] = u->row_stride;
    if (u->pixels == v->pixels + 1) {
      frame.plane[1] = v->pixels;
      return frame;
    }
    if (v->pixels == u->pixels + 1) {
      frame.format = QX_FMT_NV12;
      frame.plane[1] = u->pixels;
      return frame;
    }
  }
  for (y = 0; y < rows; ++y) {
    for (x = 0; x < columns; ++x) {
      scratch[2 * (y * columns + x)] = v->pixels[y * v->row_stride + x * v->pixel_stride];
      scratch[2 * (y * columns + x) + 1] = u->pixels[y * u->row_stride + x * u->pixel_stride];
    }
  }
  frame.plane[1] = scratch;
  frame.pitch[1] = 2 * columns;
  return frame;
}

/* Turns an even-sized frame by degrees and converts it. turned has width * height * 3 / 2 bytes,
 * colors three times width * height. The turn takes rows as packed, so padded ones are copied
 * first. Returns a code of the library. */
uint32_t upright(const QX_OFFSCREEN* frame, int degrees, uint8_t* packed, uint8_t* turned,
                 uint8_t* colors) {
  const int width = degrees % 180 == 0 ? frame->width : frame->height;
  const int height = degrees % 180 == 0 ? frame->height : frame->width;
  const size_t luma = (size_t)width * (size_t)height;
  QX_OFFSCREEN tight = {frame->format, frame->width, frame->height, {NULL}, {0}};
  QX_OFFSCREEN dst = {frame->format, width, height, {NULL}, {0}};
  QX_OFFSCREEN picture = {QX_FMT_RGB24, width, height, {NULL}, {0}};
  uint32_t code;
  tight.plane[0] = packed;
  tight.plane[1] = packed + luma;
  tight.pitch[0] = tight.pitch[1] = frame->width;
  dst.plane[0] = turned;
  dst.plane[1] = turned + luma;
  dst.pitch[0] = dst.pitch[1] = width;
  picture.plane[0] = colors;
  picture.pitch[0] = 3 * width;
  if ((code = mvk_copy(&tight, frame)) != MVK_OK) return code;
  if ((code = mvk_rotate(&dst, &tight, degrees)) != MVK_OK) return code;
  return mvk_convert(&picture, &dst);
}
//! [android]

int main(void) {
  enum { kWidth = 64, kHeight = 48, kStride = 80 };
  static uint8_t y[kStride * kHeight], u[kStride * kHeight / 4], v[kStride * kHeight / 4];
  static uint8_t scratch[kWidth * kHeight / 2], packed[kWidth * kHeight * 3 / 2];
  static uint8_t turned[kWidth * kHeight * 3 / 2], colors[kWidth * kHeight * 3];
  const struct plane planes[3] = {{y, kStride, 1}, {u, kStride / 2, 1}, {v, kStride / 2, 1}};
  const uint8_t* middle = colors + 3 * (kWidth / 2 * kHeight + kHeight / 2);
  QX_OFFSCREEN frame;
  memset(y, 82, sizeof y); /* red, in limited range */
  memset(u, 90, sizeof u);
  memset(v, 240, sizeof v);
  frame = android_frame(planes, kWidth, kHeight, scratch);
  if (upright(&frame, 90, packed, turned, colors) != MVK_OK) return EXIT_FAILURE;
  printf("red %d, green %d, blue %d\n", middle[2], middle[1], middle[0]);
  return EXIT_SUCCESS;
}
