// Every exported function on memory that ends, and that starts, next to an unreadable page, and on
// eight threads at once.
#include <gtest/gtest.h>

#include <csignal>
#include <opencv2/core/utility.hpp>
#include <thread>

#include "robust/scene.h"
#include "support/test_image.h"

namespace robust {
namespace {

std::string fault;

// Names the call; the program ends when the faulty access is repeated.
void report_fault(int signal) {
  (void)!write(STDERR_FILENO, fault.data(), fault.size());
  std::signal(signal, SIG_DFL);
}

TEST(Bounds, NothingOutsideIsTouchedAndResultsAreRight) {
  std::signal(SIGSEGV, report_fault);
  Choice choice = random_choice(7);
  for (const Variant& variant : variants()) {
    for (const test::Shape& shape : test::kShapes) {
      for (int draw = 0; draw < 32; ++draw) {
        const Flush flush = draw % 2 == 0 ? Flush::kAtStart : Flush::kAtEnd;
        Scene scene(variant, shape.width, shape.height, flush, choice);
        fault = "\nmemory outside the images was touched by: " + scene.description() + '\n';
        scene.run();
        EXPECT_TRUE(scene.is_right()) << scene.description();
      }
    }
  }
}

// All threads call the same function at once, each again and again on its own images.
TEST(Threads, EightGiveTheBytesOfOne) {
#ifdef __SANITIZE_THREAD__
  // The synchronisation inside OpenCV's thread pool is invisible to ThreadSanitizer, since Debian's
  // OpenCV and TBB are not built with it.
  cv::setNumThreads(1);
#endif
  for (const Variant& variant : variants()) {
    const auto outcomes = [&variant](uint64_t seed) {
      Choice choice = random_choice(seed);
      Scene scene(variant, 90, 70, Flush::kAtEnd, choice);
      std::vector<std::vector<uint8_t>> all(50);
      for (std::vector<uint8_t>& outcome : all) {
        scene.run();
        outcome = scene.outcome();
      }
      return all;
    };
    std::vector<decltype(outcomes(0))> expected;
    for (uint64_t seed = 0; seed < 8; ++seed) expected.push_back(outcomes(seed));
    std::vector<std::thread> threads;
    for (uint64_t seed = 0; seed < 8; ++seed) {
      threads.emplace_back([&outcomes, &expected, &variant, seed] {
        EXPECT_TRUE(outcomes(seed) == expected[seed])
            << variant.function->name << " from " << test::format_name(variant.from) << ", seed "
            << seed;
      });
    }
    for (std::thread& thread : threads) thread.join();
  }
}

}  // namespace
}  // namespace robust
