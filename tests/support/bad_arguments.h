// The ways in which a descriptor can be wrong for any function.
#pragma once

#include <vector>

#include "core/format.h"

namespace test {

struct BrokenField {
  const char* name;
  void (*break_it)(QX_OFFSCREEN& image);
};

inline int last_plane(const QX_OFFSCREEN& image) {
  return kel::imageprocess::is_two_plane(image.format) ? 1 : 0;
}

// Every function checks the first three.
inline const std::vector<BrokenField> kBrokenFields{
    {"null plane 0", [](QX_OFFSCREEN& image) { image.plane[0] = nullptr; }},
    {"format 0", [](QX_OFFSCREEN& image) { image.format = 0; }},
    {"format unknown", [](QX_OFFSCREEN& image) { image.format = 0x702; }},
    {"width 0", [](QX_OFFSCREEN& image) { image.width = 0; }},
    {"width negative", [](QX_OFFSCREEN& image) { image.width = -4; }},
    {"height 0", [](QX_OFFSCREEN& image) { image.height = 0; }},
    {"height negative", [](QX_OFFSCREEN& image) { image.height = -4; }},
    {"pitch below width", [](QX_OFFSCREEN& image) { image.pitch[0] = image.width - 1; }},
    {"pitch negative", [](QX_OFFSCREEN& image) { image.pitch[0] = -image.pitch[0]; }},
    {"last pitch below width",
     [](QX_OFFSCREEN& image) { image.pitch[last_plane(image)] = image.width - 1; }},
    {"null last plane", [](QX_OFFSCREEN& image) { image.plane[last_plane(image)] = nullptr; }},
};

}  // namespace test
