// The two passes of a Gaussian blur in whole numbers. Taps are symmetrical and add up to 256:
// taps[0] is the middle one, taps[radius] the outermost. Nothing is rounded before the end.
#pragma once

#include <cstdint>

namespace kel::imageprocess {

struct GaussianTaps {
  const uint16_t* taps;
  int32_t radius;
};

inline constexpr int kGaussianRows = 4;  // of results that the second pass makes at a time
inline constexpr int kMostTaps = 201;
inline constexpr int kGaussianSlack = 128;

// Subtracted from sums so that they fit 16 bits with a sign: half their range, less 128 for the
// rounding at the end.
inline constexpr int kSumOffset = 32768 - 128;

// Sums of pixels along a row, less kSumOffset. `row` has radius * step bytes before
// and after its `count`; kGaussianSlack bytes beyond those of `row` and `sums` may be touched,
// their contents do not matter.
void gaussian_along_row(int16_t* sums, const uint8_t* row, int64_t count, int step,
                        GaussianTaps taps);
// Reference version; results must match.
void gaussian_along_row_plain(int16_t* sums, const uint8_t* row, int64_t count, int step,
                              GaussianTaps taps);

// Pixels of result row i from the sums of rows[i] to rows[i + 2 * radius].
void gaussian_across_rows(uint8_t* const* results, const int16_t* const* rows, int64_t count,
                          GaussianTaps taps);
// Reference version; results must match.
void gaussian_across_rows_plain(uint8_t* const* results, const int16_t* const* rows, int64_t count,
                                GaussianTaps taps);

}  // namespace kel::imageprocess
