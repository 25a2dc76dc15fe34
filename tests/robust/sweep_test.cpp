// Every exported function on memory that ends, and that starts, at an unreadable page, and on eight
// threads at once.
#include <gtest/gtest.h>

#include <csignal>
#include <opencv2/core/utility.hpp>
#include <thread>

#include "robust/scene.h"
#include "support/test_image.h"

namespace robust {
namespace {

std::string fault;

// Names the call; back at the faulty access, the program ends.
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
        fault = "\nmemory outside the images was touched by: " + scene.name + '\n';
        scene.run();
        EXPECT_TRUE(scene.is_right()) << scene.name;
      }
    }
  }
}

// The outcomes of a fixed list of calls; every thread gets images of its own.
std::vector<std::vector<uint8_t>> outcomes() {
  Choice choice = random_choice(21);
  std::vector<std::vector<uint8_t>> all;
  for (int round = 0; round < 4; ++round) {
    for (const Variant& variant : variants()) {
      const int width = choice.pick(1, 90);
      Scene scene(variant, width, choice.pick(1, 70), Flush::kAtEnd, choice);
      scene.run();
      all.push_back(scene.outcome());
    }
  }
  return all;
}

TEST(Threads, EightGiveTheBytesOfOne) {
#ifdef __SANITIZE_THREAD__
  // The synchronisation inside OpenCV's thread pool is invisible to ThreadSanitizer, since Debian's
  // OpenCV and TBB are not built with it.
  cv::setNumThreads(1);
#endif
  const auto expected = outcomes();
  std::vector<std::thread> threads(8);
  for (std::thread& thread : threads) {
    thread = std::thread([&expected] { EXPECT_TRUE(outcomes() == expected); });
  }
  for (std::thread& thread : threads) thread.join();
}

}  // namespace
}  // namespace robust
