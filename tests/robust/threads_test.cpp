// The same calls on eight threads at once and alone.
#include <gtest/gtest.h>

#include <opencv2/core/utility.hpp>
#include <thread>

#include "robust/scene.h"

namespace robust {
namespace {

// The outcomes of a fixed list of calls; every thread gets images of its own.
std::vector<std::vector<uint8_t>> outcomes(int rounds) {
  Choice choice = random_choice(21);
  std::vector<std::vector<uint8_t>> all;
  for (int round = 0; round < rounds; ++round) {
    for (const Variant& variant : all_variants()) {
      const int width = choice.pick(1, 90);
      const int height = choice.pick(1, 70);
      Scene scene(make_call(variant, width, height, choice), Flush::kAtEnd, choice);
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
  constexpr int kRounds = 4;
  const auto expected = outcomes(kRounds);
  std::vector<std::vector<std::vector<uint8_t>>> seen(8);
  std::vector<std::thread> threads;
  for (auto& mine : seen) threads.emplace_back([&mine] { mine = outcomes(kRounds); });
  for (std::thread& thread : threads) thread.join();
  for (const auto& mine : seen) {
    ASSERT_EQ(mine.size(), expected.size());
    for (size_t i = 0; i < expected.size(); ++i) EXPECT_EQ(mine[i], expected[i]) << "call " << i;
  }
}

}  // namespace
}  // namespace robust
