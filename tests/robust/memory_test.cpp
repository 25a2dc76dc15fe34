// Refuses each allocation of every exported function in turn. malloc and its relatives are replaced
// in this program; operator new and OpenCV's allocator call them, too.
#include <gtest/gtest.h>

#include <cerrno>
#include <climits>
#include <exception>
#include <opencv2/core/utility.hpp>

#include "robust/scene.h"

namespace {

// What this thread allocates and releases while `watching`.
struct Watch {
  bool watching = false;
  long first = LONG_MAX;  // allocation to refuse, counted from 0
  long last = LONG_MAX;   // the last to refuse
  long asked = 0;
  long live = 0;
};
constinit thread_local Watch watch;

bool refuses() {
  if (!watch.watching) return false;
  const long number = watch.asked++;
  return number >= watch.first && number <= watch.last;
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
// What OpenCV's own code allocates for itself; not counted, since nobody else can free it: OpenCV
// leaks the pixels of a matrix if it cannot allocate their header, and cv::findContours its
// storage.
namespace cv {
void* fastMalloc(size_t size) {
  constexpr size_t kAlignment = 64;
  void* block = refuses() ? nullptr : __libc_memalign(kAlignment, size);
  if (block == nullptr) CV_Error(Error::StsNoMem, "refused");
  return block;
}
void fastFree(void* block) { __libc_free(block); }
}  // namespace cv
#pragma GCC visibility pop

namespace robust {
namespace {

// Runs the call and releases everything. What was written counts only if nothing was thrown.
std::vector<uint8_t> run_refusing(Scene& scene, long first, long last) {
  std::vector<uint8_t> outcome;
  watch = {true, first, last};
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
  cv::setNumThreads(1);  // the threads of a pool allocate at any time
  long refusals = 0;
  for (const Variant& variant : variants()) {
    for (int draw = 0; draw < 12; ++draw) {
      Choice choice = random_choice(static_cast<uint64_t>(draw) + 1);
      Scene scene(variant, 40 + 5 * draw, 37, Flush::kAtEnd, choice);
      run_refusing(scene, LONG_MAX, LONG_MAX);  // what OpenCV sets up once is not a leak
      const std::vector<uint8_t> expected = run_refusing(scene, LONG_MAX, LONG_MAX);
      const long total = 2 * watch.asked;
      for (long i = 0; i < total; ++i, ++refusals) {
        const long last = i % 2 == 0 ? i / 2 : LONG_MAX;
        // OpenCV's error state is set up once and stays; a leak would come again.
        run_refusing(scene, i / 2, last);
        if (watch.live != 0) run_refusing(scene, i / 2, last);
        ASSERT_EQ(watch.live, 0) << scene.description() << " leaks when allocation " << i / 2
                                 << " fails";
      }
      EXPECT_EQ(run_refusing(scene, LONG_MAX, LONG_MAX), expected)
          << scene.description() << " kept a trace";
      ASSERT_EQ(watch.live, 0) << scene.description() << " leaks";
    }
  }
  EXPECT_GT(refusals, 1000);
}

}  // namespace
}  // namespace robust
