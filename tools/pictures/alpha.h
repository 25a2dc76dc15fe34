// Transparency of ARGB pictures.
#pragma once

#include "pictures/picture.h"

namespace tool {

// Whether a picture has alpha that says something: not the same value everywhere.
bool alpha_varies(const Picture& picture);

// Whether a picture is transparent anywhere. Where alpha is 0 everywhere, a camera left it unset.
bool is_transparent(const Picture& picture);

Picture alpha_of(const Picture& argb);                  // as GRAY
void set_alpha(Picture& argb, const Picture& alpha);    // alpha is GRAY
void limit_alpha(Picture& argb, const Picture& alpha);  // multiplied by a second one

void multiply_by_alpha(Picture& argb);
void divide_by_alpha(Picture& argb);

Picture over_white(const Picture& argb);  // RGB24

}  // namespace tool
