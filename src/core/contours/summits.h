// The borders of the shapes in a mask, followed by runs instead of pixels: the borders are those of
// S. Suzuki and K. Abe, "Topological structural analysis of digitized binary images by border
// following", 1985. They are cut at their summits: where a shape, or the background
// between two parts of one, begins as rows are read from the top. From each summit a left flank
// goes down along the left ends of runs and a right flank along the right ends, one end in each
// row. At their lower ends flanks of two summits, or of one, meet: a border is a ring of summits.
//
//      summit of a shape      # # #           # # # # #      summit of the background
//                left flank   #   right       #       #      right flank on its left,
//                             #   flank       #       #      left flank on its right
#pragma once

#include <cstdint>
#include <vector>

#include "core/contours/bit_mask.h"

namespace kel {

inline constexpr int32_t kNone = -1;

// A vertical part of a flank: from `row` on it keeps its column.
struct Stretch {
  int32_t column;
  int32_t row;
};

struct Flank {
  uint32_t stretches;  // index of the uppermost of its stretches
  uint32_t count;
};

struct Summit {
  Flank left;
  Flank right;
  int32_t last_row;      // of the left flank
  int32_t next = kNone;  // the summit whose right flank the left flank meets there
  int32_t before;        // the summit whose flank ends to the left of this one, or kNone
  bool of_shape;
};

class Summits {
 public:
  explicit Summits(const BitMask& mask);

  // In the order in which a scan of the mask meets them.
  const std::vector<Summit>& list() const { return summits_; }
  const Stretch* stretches(const Flank& flank) const { return &stretches_[flank.stretches]; }

 private:
  // Columns [begin, end) of a row.
  struct Run {
    int32_t begin;
    int32_t end;
    int32_t left;  // the summit of its left end, and of its right end
    int32_t right;
  };

  void link_rows(int32_t y);
  void link_group(size_t& above, size_t& here, int32_t y);
  int32_t add_summit(int32_t left_column, int32_t right_column, int32_t y, bool of_shape,
                     int32_t before);
  void meet(const Run& left, const Run& right, int32_t y);
  void bend(Flank& flank, int32_t column, int32_t y);

  std::vector<Run> above_;  // of the row above, and of the row that is read
  std::vector<Run> here_;
  std::vector<Stretch> stretches_;  // those of a flank one after the other
  std::vector<Summit> summits_;
};

}  // namespace kel
