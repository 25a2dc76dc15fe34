// Bytes on the heap, counted by replacing the C allocator of the benchmark programs.
#pragma once

#include <cstddef>

namespace bench {

// Starts a new measurement: the peak is what is allocated now.
void reset_peak();
// The largest number of bytes allocated at one time since reset_peak(), less those allocated then.
size_t peak_since_reset();

}  // namespace bench
