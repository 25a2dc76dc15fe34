#include <cstdlib>

#include "api/check.h"
#include "outline/outline_expansion.h"
#include "outline/result.h"

namespace {

[[nodiscard]] uint32_t check_mode(const MKOutlineMode& mode) {
  if (mode.mode > MK_OMODE_VECTOR_CENTER) return MVK_BAD_ARGUMENT;
  if (mode.chain_approx != MK_OCHAIN_ALL && mode.chain_approx != MK_OCHAIN_SIMPLE) {
    return MVK_BAD_ARGUMENT;
  }
  if (mode.expand_size > 500) return MVK_BAD_ARGUMENT;
  if (mode.smooth_level > MK_OSMOOTH_5) return MVK_BAD_ARGUMENT;
  if (mode.threshold > 253) return MVK_BAD_ARGUMENT;
  return MVK_OK;
}

}  // namespace

void* mvk_outline_create(void) { return std::calloc(1, sizeof(uint32_t)); }

// The pitch is not checked: gray rows count as packed, and any pitch may separate rows of Y.
uint32_t mvk_outline_expansion(void* handle, const QX_OFFSCREEN* image, const MKOutlineMode* mode,
                               MKGetOutline* result) {
  if (handle == nullptr || result == nullptr) return MVK_NULL_RECORD;
  if (result->contour_count != 0) {
    outline::release_outlines(*result);
    *result = {};
  }
  if (mode == nullptr) return MVK_NULL_RECORD;
  if (const uint32_t code = check_mode(*mode); code != MVK_OK) return code;
  if (const uint32_t code = mvk::api::check_planes({image}); code != MVK_OK) return code;
  if (image->width < 1 || image->height < 1) return MVK_BAD_ARGUMENT;
  switch (image->format) {
    case QX_FMT_GRAY:
      return outline::outline_expansion(*image, mode, result);
    case QX_FMT_NV21:  // all of the Y plane, an odd last row and column too
      return outline::outline_expansion(kel::imageprocess::first_plane(*image), mode, result);
    default:
      return MVK_BAD_ARGUMENT;
  }
}

void mvk_outline_destroy(void* handle, MKGetOutline* result) {
  if (result != nullptr) outline::release_outlines(*result);
  std::free(handle);
}
