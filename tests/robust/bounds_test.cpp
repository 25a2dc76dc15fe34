// Every exported function on memory that ends, and that starts, at an unreadable page.
#include <gtest/gtest.h>

#include <csignal>
#include <cstring>

#include "robust/scene.h"
#include "support/test_image.h"

namespace robust {
namespace {

const char* running = "";

// Names the call before the program ends.
void report_fault(int signal) {
  constexpr char kText[] = "\nmemory outside the images was touched by: ";
  (void)!write(STDERR_FILENO, kText, sizeof kText - 1);
  (void)!write(STDERR_FILENO, running, std::strlen(running));
  (void)!write(STDERR_FILENO, "\n", 1);
  std::signal(signal, SIG_DFL);
  std::raise(signal);
}

class Bounds : public testing::TestWithParam<Flush> {};

TEST_P(Bounds, NothingOutsideIsTouched) {
  const auto previous = std::signal(SIGSEGV, report_fault);
  Choice choice = random_choice(7);
  for (const Variant& variant : all_variants()) {
    for (const test::Shape& shape : test::kShapes) {
      for (int draw = 0; draw < 6; ++draw) {
        const Call call = make_call(variant, shape.width, shape.height, choice);
        Scene scene(call, GetParam(), choice);
        running = call.name.c_str();
        scene.run();
        EXPECT_TRUE(scene.padding_is_intact()) << call.name;
      }
    }
  }
  std::signal(SIGSEGV, previous);
}

INSTANTIATE_TEST_SUITE_P(BothEnds, Bounds, testing::Values(Flush::kAtStart, Flush::kAtEnd),
                         [](const auto& test) {
                           return test.param == Flush::kAtStart ? "AtStart" : "AtEnd";
                         });

}  // namespace
}  // namespace robust
