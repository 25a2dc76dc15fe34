// Refuses each allocation of every exported function in turn. malloc and its relatives are replaced
// in this program; operator new and OpenCV's allocator come out there, too.
#include <gtest/gtest.h>

#include <cerrno>
#include <exception>
#include <opencv2/core/utility.hpp>

#include "robust/scene.h"

namespace {

// What this thread allocates and releases while `watching`.
struct Watch {
  bool watching = false;
  long refused = -1;  // the allocation to refuse, counted from 0; -1: none
  bool from_then_on = false;
  long asked = 0;
  long live = 0;
  long live_in_opencv = 0;  // of what OpenCV's own allocator took
};
constinit thread_local Watch watch;

bool refuses() {
  if (!watch.watching) return false;
  const long number = watch.asked++;
  return number == watch.refused ||
         (watch.from_then_on && watch.refused >= 0 && number > watch.refused);
}

template <typename... Sizes>
void* take(void* (*allocate)(Sizes...), Sizes... sizes) {
  void* block = refuses() ? nullptr : allocate(sizes...);
  if (watch.watching && block != nullptr) ++watch.live;
  return block;
}

}  // namespace

#pragma GCC visibility push(default)
extern "C" {
void* __libc_malloc(size_t size);
void* __libc_calloc(size_t count, size_t size);
void* __libc_realloc(void* block, size_t size);
void* __libc_memalign(size_t alignment, size_t size);
void __libc_free(void* block);

void* malloc(size_t size) { return take(__libc_malloc, size); }
void* calloc(size_t count, size_t size) { return take(__libc_calloc, count, size); }
void* memalign(size_t alignment, size_t size) { return take(__libc_memalign, alignment, size); }
void* aligned_alloc(size_t alignment, size_t size) { return memalign(alignment, size); }
int posix_memalign(void** block, size_t alignment, size_t size) {
  *block = memalign(alignment, size);
  return *block == nullptr ? ENOMEM : 0;
}
void* realloc(void* block, size_t size) {
  if (block == nullptr) return malloc(size);
  return refuses() ? nullptr : __libc_realloc(block, size);
}
void free(void* block) {
  if (watch.watching && block != nullptr) --watch.live;
  __libc_free(block);
}
}
// What OpenCV's own code takes for itself.
namespace cv {
void* fastMalloc(size_t size) {
  constexpr size_t kAlignment = 64;
  void* block = refuses() ? nullptr : __libc_memalign(kAlignment, size);
  if (block == nullptr) CV_Error(Error::StsNoMem, "refused");
  if (watch.watching) ++watch.live_in_opencv;
  return block;
}
void fastFree(void* block) {
  if (watch.watching && block != nullptr) --watch.live_in_opencv;
  __libc_free(block);
}
}  // namespace cv
#pragma GCC visibility pop

namespace robust {
namespace {

// Runs the call and gives everything back. What was written counts when nothing was thrown.
std::vector<uint8_t> run_refusing(Scene& scene, long refused, bool from_then_on) {
  std::vector<uint8_t> outcome;
  watch = {true, refused, from_then_on};
  try {
    scene.run();
    watch.watching = false;
    outcome = scene.outcome();
  } catch (const std::exception&) {
  }
  watch.watching = true;
  scene.release();
  watch.watching = false;
  return outcome;
}

TEST(FailingMemory, NothingLeaksAndRecordsStayWhole) {
  cv::setNumThreads(1);  // threads of a pool allocate when they like
  long refusals = 0;
  for (const Variant& variant : variants()) {
    for (int draw = 0; draw < 3; ++draw) {
      Choice choice = random_choice(static_cast<uint64_t>(draw) + 1);
      Scene scene(variant, 40 + 13 * draw, 37, Flush::kAtEnd, choice);
      run_refusing(scene, -1, false);  // what OpenCV sets up once is not a leak
      const std::vector<uint8_t> expected = run_refusing(scene, -1, false);
      ASSERT_EQ(watch.live + watch.live_in_opencv, 0) << scene.name << " leaks";
      const long total = 2 * watch.asked;
      for (long i = 0; i < total; ++i, ++refusals) {
        // OpenCV's error state is set up once and stays; a leak comes back. What OpenCV's own
        // allocator took cannot be given back by others: OpenCV loses a matrix's pixels when it
        // gets no memory for their record, and the storage of cv::findContours.
        run_refusing(scene, i / 2, i % 2 == 1);
        if (watch.live != 0) run_refusing(scene, i / 2, i % 2 == 1);
        ASSERT_EQ(watch.live, 0) << scene.name << " leaks when allocation " << i / 2 << " fails";
      }
      EXPECT_EQ(run_refusing(scene, -1, false), expected) << scene.name << " kept a trace";
    }
  }
  EXPECT_GT(refusals, 1000);
}

}  // namespace
}  // namespace robust
