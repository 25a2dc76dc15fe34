// Bytes on the heap, counted by replacing the C allocator of the benchmark programs.
#pragma once

#include <cstddef>

namespace bench {

// Starts a new measurement: the peak is what is held now.
void reset_peak();
// The most that was held at once since reset_peak(), less what was held then; bytes.
size_t peak_since_reset();

}  // namespace bench
