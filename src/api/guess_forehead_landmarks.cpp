#include "core/saturate.h"
#include "face/landmarks.h"
#include "morvik/morvik.h"

uint32_t mvk_guess_forehead_landmarks(int32_t* out_points, const int32_t* in_points, uint32_t count,
                                      int width, int height) {
  using namespace mvk::face;
  if (out_points == nullptr || in_points == nullptr) return MVK_BAD_ARGUMENT;
  if (count != kStdPoints && count != kInternalPoints) return MVK_BAD_ARGUMENT;

  LandmarkVector landmarks(count);
  for (LandmarkPoint& point : landmarks) {
    point.x = static_cast<float>(*in_points++);
    point.y = static_cast<float>(*in_points++);
  }
  for (const LandmarkPoint& point : get_forehead_points(landmarks, width, height)) {
    *out_points++ = kel::saturate_to_int32(point.x);
    *out_points++ = kel::saturate_to_int32(point.y);
  }
  return MVK_OK;
}
