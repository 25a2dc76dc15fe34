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

MKOutlineMode good_mode() {
  return {MK_OMODE_HULL_FILL_STROKE, MK_OCHAIN_ALL, 2, MK_OSMOOTH_3, 1, nullptr, 127};
}

TEST(OutlineRecord, CodesInOrder) {
  TestImage image(QX_FMT_GRAY, 40, 40);
  void* handle = mvk_outline_create();
  MKGetOutline record{};
  const MKOutlineMode good = good_mode();
  const auto filled = [&] {
    EXPECT_EQ(mvk_outline_expansion(handle, &image, &good, &record), MVK_OK);
    return record.contour_count != 0;
  };
  const auto is_empty = [&] {
    return record.contour_count == 0 && record.point_counts == nullptr && record.points == nullptr;
  };

  // Everything else is wrong, too: the records come first, and then nothing is touched.
  ASSERT_TRUE(filled());
  EXPECT_EQ(mvk_outline_expansion(nullptr, nullptr, nullptr, &record), MVK_NULL_RECORD);
  EXPECT_NE(record.contour_count, 0u);
  EXPECT_EQ(mvk_outline_expansion(handle, nullptr, nullptr, nullptr), MVK_NULL_RECORD);
  EXPECT_EQ(mvk_outline_expansion(handle, nullptr, nullptr, &record), MVK_NULL_RECORD);
  EXPECT_TRUE(is_empty());

  const std::vector<std::pair<const char*, void (*)(MKOutlineMode&)>> bad_modes{
      {"mode", [](MKOutlineMode& m) { m.mode = 9; }},
      {"chain 0", [](MKOutlineMode& m) { m.chain_approx = 0; }},
      {"chain 3", [](MKOutlineMode& m) { m.chain_approx = 3; }},
      {"expand", [](MKOutlineMode& m) { m.expand_size = 501; }},
      {"smooth", [](MKOutlineMode& m) { m.smooth_level = MKOSmoothLevel{6}; }},
      {"threshold", [](MKOutlineMode& m) { m.threshold = 254; }}};
  for (const auto& [name, break_it] : bad_modes) {
    ASSERT_TRUE(filled());
    MKOutlineMode bad = good;
    break_it(bad);
    EXPECT_EQ(mvk_outline_expansion(handle, &image, &bad, &record), MVK_BAD_ARGUMENT) << name;
    EXPECT_TRUE(is_empty()) << name;
  }

  const std::vector<std::pair<const char*, void (*)(QX_OFFSCREEN&)>> bad_images{
      {"plane", [](QX_OFFSCREEN& i) { i.plane[0] = nullptr; }},
      {"width", [](QX_OFFSCREEN& i) { i.width = 0; }},
      {"negative height", [](QX_OFFSCREEN& i) { i.height = -40; }},
      {"NV12", [](QX_OFFSCREEN& i) { i.format = QX_FMT_NV12; }},
      {"RGB24", [](QX_OFFSCREEN& i) { i.format = QX_FMT_RGB24; }},
      {"ARGB", [](QX_OFFSCREEN& i) { i.format = QX_FMT_ARGB; }},
      {"ABGR", [](QX_OFFSCREEN& i) { i.format = QX_FMT_ABGR; }},
      {"unknown", [](QX_OFFSCREEN& i) { i.format = 0; }}};
  for (const auto& [name, break_it] : bad_images) {
    ASSERT_TRUE(filled());
    QX_OFFSCREEN bad = image.descriptor();
    break_it(bad);
    EXPECT_EQ(mvk_outline_expansion(handle, &bad, &good, &record), MVK_BAD_ARGUMENT) << name;
    EXPECT_TRUE(is_empty()) << name;
  }
  ASSERT_TRUE(filled());
  EXPECT_EQ(mvk_outline_expansion(handle, nullptr, &good, &record), MVK_BAD_ARGUMENT);
  EXPECT_TRUE(is_empty());
  ASSERT_TRUE(filled());
  image.fill(127);
  EXPECT_EQ(mvk_outline_expansion(handle, &image, &good, &record), MVK_NOT_FOUND);
  EXPECT_TRUE(is_empty());
  mvk_outline_destroy(handle, nullptr);
  mvk_outline_destroy(nullptr, nullptr);
}

TEST(OutlineRecord, LimitsAreAccepted) {
  TestImage image(QX_FMT_GRAY, 20, 20);
  void* handle = mvk_outline_create();
  MKGetOutline record{};
  const MKOutlineMode mode{8, 2, 500, MK_OSMOOTH_5, 7, nullptr, 253};
  image.row(9)[9] = 254;
  EXPECT_EQ(mvk_outline_expansion(handle, &image, &mode, &record), MVK_OK);
  mvk_outline_destroy(handle, &record);
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
  EXPECT_NE(record.points, nullptr);
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
