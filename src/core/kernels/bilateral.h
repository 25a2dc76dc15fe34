// Means weighted by a pixel's place in a window and by its difference from the middle, in single
// precision with OpenCV's order of operations.
#pragma once

#include <cstdint>

namespace kel::imageprocess {

inline constexpr int kBilateralPixels = 16;  // worked on at a time

// The channels of an image lie in planes; a row of each.
struct BilateralTaps {
  const int32_t* offsets;  // of the window's pixels from its middle
  const float* weights;    // of their places
  const int32_t* ends;     // of each of the window's rows: taps up to there
  int32_t rows;
  const float* colour;  // weights of a difference, the sum of those of the channels, scaled
  int64_t plane;        // bytes from one channel to the next
  bool has_subnormal;   // whether a product of two weights is below the normal range
};

// Weights of colours are multiplied by this. Arithmetic on numbers below the normal range takes up
// to a hundred times as long; those of weights are rounded to what they would be without a scale.
inline constexpr float kWeightScale = 0x1p64F;

// For each row of the windows, from the top: the least and the greatest byte in the windows of
// kBilateralPixels pixels, then of the next as many; and how far those of all rows are apart.
struct BilateralRanges {
  const uint8_t* least;
  const uint8_t* greatest;
  int64_t pitch;
  const uint8_t* spread;

  void skip(int64_t blocks) {
    least += blocks;
    greatest += blocks;
    spread += blocks;
  }
};

// The order in which a window is summed: pixel by pixel, a product and its sum rounded once; or by
// fours, (0 + 2) + (1 + 3), with products rounded, and then up to three pixels on their own.
enum class BilateralOrder { kInTurn, kByFours };

// Pixels of `channels` (1 or 3) bytes. Windows of up to kBilateralPixels more are read; what they
// hold does not matter. ranges are those of gray windows summed in turn, or not looked at.
void bilateral(uint8_t* result, const uint8_t* middle, int64_t count, int channels,
               BilateralOrder order, const BilateralTaps& taps, const BilateralRanges& ranges);
// Reference version; results must match.
void bilateral_plain(uint8_t* result, const uint8_t* middle, int64_t count, int channels,
                     BilateralOrder order, const BilateralTaps& taps);

// Places a row of pixels of 3 bytes in planes.
void split_pixels(const uint8_t* row, int64_t count, uint8_t* planes, int64_t plane);
// Reference version; results must match.
void split_pixels_plain(const uint8_t* row, int64_t count, uint8_t* planes, int64_t plane);

// The least and the greatest byte of the `width` cells of four columns from each cell on. Columns
// are read up to kRangeSlack further than the last of these, and results written that far behind
// the last.
struct CellRanges {
  uint8_t* least;
  uint8_t* greatest;
  const uint8_t* row;
  int64_t cells;
  int32_t width;
};
inline constexpr int kCell = 4;
inline constexpr int kRangeSlack = 64;
void find_ranges(const CellRanges& ranges);
// Reference version; results must match.
void find_ranges_plain(const CellRanges& ranges);

}  // namespace kel::imageprocess
