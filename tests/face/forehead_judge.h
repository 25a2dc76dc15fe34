// The forehead by plain formulas in extended precision, around Eigen's solver as it comes (with
// its vector code, which the library does without). Points are x + iy.
#pragma once

#include <array>
#include <complex>
#include <cstdint>
#include <vector>

namespace test {

// The coefficients of the conic a x^2 + b x y + c y^2 + d x + e y + 1 = 0 nearest to the points.
std::array<double, 5> judged_conic(const std::vector<std::complex<double>>& points);

// 11 x, y pairs from whole pixels in the internal layout.
std::vector<int32_t> judged_forehead(const std::vector<std::complex<double>>& points, int width,
                                     int height);

}  // namespace test
