// Finds the windows of a row in which 0 or 255 has the majority.
#pragma once

#include <cstdint>

namespace kel::imageprocess {

// One of the two counts of the windows of a row, with the rows that enter and leave them.
struct WindowCount {
  uint16_t* sums;
  const uint8_t* entering;
  const uint8_t* leaving;
};

// Rows may be read and written up to the next multiple of 32 pixels.
struct RowDecision {
  int32_t width;
  uint16_t majority;
  WindowCount zeros;  // sums is null where every pixel is 0 or 255
  WindowCount fulls;
  uint8_t* result;  // 255 where the 255s have the majority, else 0
  uint8_t* open;    // 255 where neither has it
};

// Moves the sums one row down, then fills result and, where zeros are counted, open.
void decide_row(const RowDecision& row);
// Reference version; results must match.
void decide_row_plain(const RowDecision& row);

}  // namespace kel::imageprocess
