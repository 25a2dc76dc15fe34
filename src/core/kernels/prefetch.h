// Asking for memory before it is used.
#pragma once

#include <hwy/cache_control.h>

#include <cstdint>

namespace kel {

// For kernels that walk through images at the speed of memory and are about to read or to write
// `bytes` bytes at `place`: asks for the cache lines 1 KB further on. Processors fetch ahead for
// loads, but hardly for stores, and not beyond a page. On an Intel machine kernels that write more
// than they read take 0.65 to 0.8 of the time with outputs of 1 to 50 MB, others 0.85 to 0.9. From
// 1 to 4 KB the distance makes no difference. Behind a row's end comes the next row as a rule;
// where it does not, nothing is accessed.
HWY_INLINE void prefetch_ahead(const uint8_t* place, int64_t bytes) {
  constexpr uintptr_t kDistance = 1024;
  constexpr int64_t kLine = 64;
  const uintptr_t ahead = reinterpret_cast<uintptr_t>(place) + kDistance;
  for (int64_t i = 0; i < bytes; i += kLine) {
    hwy::Prefetch(reinterpret_cast<const uint8_t*>(ahead + static_cast<uintptr_t>(i)));
  }
}

}  // namespace kel
