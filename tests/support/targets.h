// Vector kernels are compiled once for each instruction set, and the best is chosen at run time.
#pragma once

// As the kernels that have it.
#define HWY_WANT_AVX3_DL

#include <gtest/gtest.h>
#include <hwy/targets.h>

namespace test {

// Runs `body` on each instruction set that this processor has.
template <typename Body>
void on_every_target(Body body) {
  for (const int64_t target : hwy::SupportedAndGeneratedTargets()) {
    SCOPED_TRACE(hwy::TargetName(target));
    hwy::SetSupportedTargetsForTest(target);
    body();
  }
  hwy::SetSupportedTargetsForTest(0);
}

}  // namespace test
