// Include before Highway's headers in files whose kernels are compiled once for each instruction
// set, the best of which is chosen when the program runs.
#pragma once

// The kernels keep vectors in arrays, which scalable vectors do not allow. Processors that have
// scalable vectors run the code for fixed-size ones instead.
#define HWY_DISABLED_TARGETS (HWY_SVE | HWY_SVE2 | HWY_SVE_256 | HWY_SVE2_128 | HWY_RVV)

namespace kel {

// Highway may read and write eight bytes for the bits of a vector's mask, however few they are.
inline constexpr int kSpareMaskBytes = 8;

}  // namespace kel
