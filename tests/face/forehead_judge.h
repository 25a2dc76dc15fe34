// The forehead by plain formulas in extended precision, around Eigen's solver as it comes (with
// its vector code, which the library does without).
#pragma once

#include <cstdint>
#include <vector>

namespace test {

// Arguments and result as for mvk_guess_forehead_landmarks; the face must be a proper one.
std::vector<int32_t> judged_forehead(const std::vector<int32_t>& points, int width, int height);

}  // namespace test
