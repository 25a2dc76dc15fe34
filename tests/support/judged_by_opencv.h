// Tests that compare with calls of OpenCV or libyuv whose results depend on the version or the
// processor.
#pragma once

#include <gtest/gtest.h>

#include "reference/judge.h"

namespace test {

class JudgedByOpenCv : public testing::Test {
 protected:
  void SetUp() override {
    if (!as_written::kOpenCvIsJudge) GTEST_SKIP() << as_written::kOtherJudge;
  }
};

}  // namespace test
