// The library's outline service, its results in the tool's own memory.
#pragma once

#include "session.h"

namespace tool {

using Outline = std::vector<TPOINT>;

// Throws when no pixel is above the threshold.
std::vector<Outline> trace(const Picture& image, const MKOutlineMode& mode, Session& session);

}  // namespace tool
