#include "face/landmark_file.h"
#include "morvik/morvik.h"

uint32_t mvk_read_landmarks(void* points, int count, const char* path, int is_float, int dims,
                            char separator) {
  if (path == nullptr || (points == nullptr && count >= 1)) return MVK_BAD_ARGUMENT;
  if (is_float != 0) {
    mvk::face::read_landmarks(static_cast<float*>(points), count, path, dims, separator);
  } else {
    mvk::face::read_landmarks(static_cast<int32_t*>(points), count, path, dims, separator);
  }
  return MVK_OK;
}
