#pragma once

#include <cstdint>
#include <limits>

namespace stiltforge {

// Truncation towards zero as compiled code for x86-64 does it, on every processor; in C++ a cast of
// what does not fit would be undefined.

/// What does not fit, NaN included, gives the most negative value.
inline int32_t toInt32(double value) {
  if (value > -2147483649.0 && value < 2147483648.0) return static_cast<int32_t>(value);
  return std::numeric_limits<int32_t>::min();
}

/// The low 32 bits of a conversion to 64 bits, so that other values wrap; what does not fit those,
/// NaN included, gives 0.
inline uint32_t toUint32(double value) {
  if (value > -0x1p63 && value < 0x1p63) return static_cast<uint32_t>(static_cast<int64_t>(value));
  return 0;
}

/// toInt32, then the low 16 bits.
inline uint16_t toUint16(double value) {
  return static_cast<uint16_t>(toInt32(value));
}

}  // namespace stiltforge
