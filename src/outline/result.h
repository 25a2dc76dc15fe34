// The outlines that are handed to the caller, who releases them.
#pragma once

#include "core/contours/bit_mask.h"
#include "morvik/morvik.h"

namespace outline {

// Releases the arrays of a record whose count is not 0. The record keeps its values.
void release_outlines(const MKGetOutline& result);

// Traces the shapes of a mask into `result`, which must be empty.
// Returns MVK_OK or, without any contour, MVK_NOT_FOUND. When memory fails half-way the record
// holds the outlines stored so far, and none for the rest.
[[nodiscard]] uint32_t get_contours_outline(const kel::BitMask& mask, MKGetOutline* result,
                                            const MKOutlineMode* mode);

}  // namespace outline
