#include "face/landmark_file.h"
#include "morvik/morvik.h"

uint32_t mvk_write_landmarks(const void* points, int count, const char* path, int is_float,
                             int dims, char separator) {
  if (path == nullptr || (points == nullptr && count >= 1)) return MVK_BAD_ARGUMENT;
  if (is_float != 0) {
    mvk::face::write_landmarks(static_cast<const float*>(points), count, path, dims, separator);
  } else {
    mvk::face::write_landmarks(static_cast<const int32_t*>(points), count, path, dims, separator);
  }
  return MVK_OK;
}
