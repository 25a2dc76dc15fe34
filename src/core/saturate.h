// Conversions from floating point that are defined for every value.
#pragma once

#include <cmath>
#include <cstdint>
#include <limits>

namespace kel {

// Truncates towards zero and clamps to the range; NaN becomes 0.
inline int32_t saturate_to_int32(double value) {
  constexpr double kMin = std::numeric_limits<int32_t>::min();
  constexpr double kMax = std::numeric_limits<int32_t>::max();
  if (std::isnan(value)) return 0;
  if (value <= kMin) return std::numeric_limits<int32_t>::min();
  if (value >= kMax) return std::numeric_limits<int32_t>::max();
  return static_cast<int32_t>(value);
}

// The same for an unsigned target: negative values become 0.
inline uint32_t saturate_to_uint32(double value) {
  constexpr double kMax = std::numeric_limits<uint32_t>::max();
  if (!(value > 0.0)) return 0;
  if (value >= kMax) return std::numeric_limits<uint32_t>::max();
  return static_cast<uint32_t>(value);
}

}  // namespace kel
