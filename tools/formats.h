// Pictures in other pixel formats, by the library's conversions.
#pragma once

#include <optional>

#include "session.h"

namespace tool {

Picture to_format(Picture picture, uint32_t format, Session& session);

// The picture turned and mirrored so that it stands upright; orientation as EXIF counts it.
Picture upright(Picture picture, int orientation, Session& session);

Picture rotated(const Picture& picture, int angle, Session& session);
Picture resized(const Picture& picture, Size size, uint32_t method, Session& session);

}  // namespace tool
