// What a mask covers of a photograph, cut out with a soft edge that shows nothing of the
// background.
#pragma once

#include "options.h"

namespace tool {

// How much of each pixel belongs to the cut-out, 255 being all. Soft masks are taken as they are;
// hard ones get an edge of a few pixels, which lies inside of theirs.
Picture coverage(const Picture& mask, bool as_it_is, Session& session);
bool is_soft(const Picture& mask);  // has an edge of its own

// The mask grown by so many pixels, its outlines smoothed, with soft edges.
Picture grown(const Picture& mask, uint16_t expand, Session& session);

// ARGB: the photograph (RGB24) where it is covered, else the border's colour; what neither covers
// is transparent. Colours of half-covered pixels are those of the covered ones beside them.
Picture composed(const Picture& photo, const Picture& covered, const Picture& border, Color color);

}  // namespace tool
