// The outline service's records: codes and their order, who owns what, memory that fails.
#include <gtest/gtest.h>

#include <cstdlib>
#include <new>

#include "support/test_image.h"

namespace {

// Arrays given out, and how many more requests for one are served before they fail. The library
// asks for arrays only where the caller keeps them.
int64_t live_arrays = 0;
int64_t requests_left = INT64_MAX;

}  // namespace

// Not inlined: GCC would take each half for a mistake.
[[gnu::noinline]] void* operator new[](size_t size) {
  void* memory = requests_left-- > 0 ? std::malloc(size > 0 ? size : 1) : nullptr;
  if (memory == nullptr) throw std::bad_alloc();
  ++live_arrays;
  return memory;
}

[[gnu::noinline]] void operator delete[](void* memory) noexcept {
  live_arrays -= memory != nullptr;
  std::free(memory);
}

[[gnu::noinline]] void operator delete[](void* memory, size_t) noexcept {
  operator delete[](memory);
}

namespace {

using test::TestImage;

// Every limit reached; random images hold pixels above 253.
MKOutlineMode good_mode() {
  return {MK_OMODE_VECTOR_CENTER, MK_OCHAIN_SIMPLE, 500, MK_OSMOOTH_5, 7, nullptr, 253};
}

struct BadCall {
  const char* name;
  void (*break_it)(MKOutlineMode& mode, QX_OFFSCREEN& image);
};
const std::vector<BadCall> kBadCalls{
    {"mode", [](MKOutlineMode& mode, QX_OFFSCREEN&) { mode.mode = 9; }},
    {"chain 0", [](MKOutlineMode& mode, QX_OFFSCREEN&) { mode.chain_approx = 0; }},
    {"chain 3", [](MKOutlineMode& mode, QX_OFFSCREEN&) { mode.chain_approx = 3; }},
    {"expand", [](MKOutlineMode& mode, QX_OFFSCREEN&) { mode.expand_size = 501; }},
    {"smooth", [](MKOutlineMode& mode, QX_OFFSCREEN&) { mode.smooth_level = MKOSmoothLevel{6}; }},
    {"threshold", [](MKOutlineMode& mode, QX_OFFSCREEN&) { mode.threshold = 254; }},
    {"null plane", [](MKOutlineMode&, QX_OFFSCREEN& image) { image.plane[0] = nullptr; }},
    {"width 0", [](MKOutlineMode&, QX_OFFSCREEN& image) { image.width = 0; }},
    {"height negative", [](MKOutlineMode&, QX_OFFSCREEN& image) { image.height = -40; }},
    {"NV12", [](MKOutlineMode&, QX_OFFSCREEN& image) { image.format = QX_FMT_NV12; }},
    {"RGB24", [](MKOutlineMode&, QX_OFFSCREEN& image) { image.format = QX_FMT_RGB24; }},
    {"ARGB", [](MKOutlineMode&, QX_OFFSCREEN& image) { image.format = QX_FMT_ARGB; }},
    {"ABGR", [](MKOutlineMode&, QX_OFFSCREEN& image) { image.format = QX_FMT_ABGR; }},
    {"format unknown", [](MKOutlineMode&, QX_OFFSCREEN& image) { image.format = 0; }}};

// Each call is made with a filled record. Null records come first: then nothing is touched.
TEST(OutlineRecord, CodesInOrder) {
  TestImage image(QX_FMT_GRAY, 40, 40);
  const MKOutlineMode good = good_mode();
  void* handle = mvk_outline_create();
  MKGetOutline record{};
  const auto expect_emptied = [&](uint32_t code, const char* name, const QX_OFFSCREEN* descriptor,
                                  const MKOutlineMode* mode) {
    ASSERT_EQ(mvk_outline_expansion(handle, &image, &good, &record), MVK_OK) << name;
    EXPECT_EQ(mvk_outline_expansion(nullptr, descriptor, mode, &record), MVK_NULL_RECORD) << name;
    EXPECT_NE(record.contour_count, 0U) << name;
    EXPECT_EQ(mvk_outline_expansion(handle, descriptor, mode, nullptr), MVK_NULL_RECORD) << name;
    EXPECT_EQ(mvk_outline_expansion(handle, descriptor, mode, &record), code) << name;
    EXPECT_EQ(record.contour_count, 0U) << name;
    EXPECT_TRUE(record.point_counts == nullptr && record.points == nullptr) << name;
  };
  for (const auto& [name, break_it] : kBadCalls) {
    MKOutlineMode mode = good;
    QX_OFFSCREEN descriptor = image.descriptor();
    break_it(mode, descriptor);
    expect_emptied(MVK_BAD_ARGUMENT, name, &descriptor, &mode);
  }
  expect_emptied(MVK_NULL_RECORD, "null parameters", nullptr, nullptr);
  expect_emptied(MVK_BAD_ARGUMENT, "null image", nullptr, &good);
  TestImage ground(QX_FMT_GRAY, 40, 40);
  ground.fill(253);
  expect_emptied(MVK_NOT_FOUND, "no shape", &ground, &good);
  mvk_outline_destroy(handle, nullptr);
  mvk_outline_destroy(nullptr, nullptr);
}

// The pointers of a record that counts nothing mean nothing; of one that counts, null is skipped.
TEST(OutlineRecord, PointersAsTheyCome) {
  TestImage image(QX_FMT_GRAY, 40, 40);
  void* handle = mvk_outline_create();
  const MKOutlineMode mode = good_mode();
  uint32_t some = 0;
  int32_t* others = nullptr;
  MKGetOutline record{0, &some, &others};
  EXPECT_EQ(mvk_outline_expansion(handle, &image, nullptr, &record), MVK_NULL_RECORD);
  EXPECT_EQ(record.point_counts, &some);
  EXPECT_EQ(record.points, &others);
  EXPECT_EQ(mvk_outline_expansion(handle, &image, &mode, &record), MVK_OK);
  mvk_outline_destroy(nullptr, &record);
  record = {3, nullptr, nullptr};
  EXPECT_EQ(mvk_outline_expansion(handle, &image, &mode, &record), MVK_OK);
  const MKGetOutline before = record;
  mvk_outline_destroy(handle, &record);
  EXPECT_EQ(record.contour_count, before.contour_count);
  EXPECT_EQ(record.points, before.points);
}

// Lets each array of a result fail in turn. Whatever the record then holds can be read and is given
// back, by destroy or by the next call.
TEST(OutlineRecord, NothingLeaksWhenMemoryFails) {
  TestImage image(QX_FMT_NV21, 31, 29);
  const MKOutlineMode mode{MK_OMODE_STROKE, 1, 0, MK_OSMOOTH_NONE, 0, nullptr, 220};
  const int64_t before = live_arrays;
  bool failed = true;
  int64_t failures = 0;
  for (; failed; failures += failed) {
    void* handle = mvk_outline_create();
    MKGetOutline record{};
    requests_left = failures;
    try {
      failed = mvk_outline_expansion(handle, &image, &mode, &record) != MVK_OK;
      EXPECT_EQ(failures, record.contour_count + 2);
    } catch (const std::bad_alloc&) {
      failed = true;
    }
    requests_left = INT64_MAX;
    EXPECT_EQ(record.contour_count != 0, failures >= 2);
    for (uint32_t i = 0; i < record.contour_count; ++i) {
      EXPECT_EQ(record.points[i] != nullptr, i + 2 < failures);
      for (uint32_t k = 0; k < 2 * record.point_counts[i]; ++k) EXPECT_GE(record.points[i][k], 0);
    }
    if (failures % 2 == 0 && failed) {
      EXPECT_EQ(mvk_outline_expansion(handle, &image, nullptr, &record), MVK_NULL_RECORD);
    }
    mvk_outline_destroy(handle, &record);
    ASSERT_EQ(live_arrays, before) << "after " << failures << " arrays";
  }
}

}  // namespace
