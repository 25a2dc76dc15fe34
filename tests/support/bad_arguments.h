// Sweeps the ways in which a descriptor can be wrong: break one field, expect the code, and find
// every destination as it was.
#pragma once

#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

#include "support/test_image.h"

namespace test {

struct BrokenField {
  const char* name;
  void (*break_it)(QX_OFFSCREEN& image);
};

// Fields that the shared check looks at in every image; the last two concern two-plane images only.
inline const std::vector<BrokenField> kBrokenFields{
    {"null plane 0", [](QX_OFFSCREEN& image) { image.plane[0] = nullptr; }},
    {"width 0", [](QX_OFFSCREEN& image) { image.width = 0; }},
    {"width negative", [](QX_OFFSCREEN& image) { image.width = -4; }},
    {"height 0", [](QX_OFFSCREEN& image) { image.height = 0; }},
    {"height negative", [](QX_OFFSCREEN& image) { image.height = -4; }},
    {"pitch below width", [](QX_OFFSCREEN& image) { image.pitch[0] = image.width - 1; }},
    {"pitch negative", [](QX_OFFSCREEN& image) { image.pitch[0] = -image.pitch[0]; }},
    {"format 0", [](QX_OFFSCREEN& image) { image.format = 0; }},
    {"format unknown", [](QX_OFFSCREEN& image) { image.format = 0x702; }},
};
inline const std::vector<BrokenField> kBrokenChromaFields{
    {"null plane 1", [](QX_OFFSCREEN& image) { image.plane[1] = nullptr; }},
    {"chroma pitch below width", [](QX_OFFSCREEN& image) { image.pitch[1] = image.width - 1; }},
};

// Calls `call` with each field of `broken` broken in turn; `dst` must keep its bytes.
inline void expect_refused(TestImage& broken, TestImage& dst,
                           const std::vector<BrokenField>& fields,
                           const std::function<uint32_t()>& call) {
  const TestImage before = dst.clone();
  const QX_OFFSCREEN good = broken.descriptor();
  for (const BrokenField& field : fields) {
    field.break_it(broken.descriptor());
    EXPECT_EQ(call(), MVK_BAD_ARGUMENT) << field.name;
    broken.descriptor() = good;
    EXPECT_TRUE(dst == before) << field.name << " wrote to the destination";
  }
}

}  // namespace test
