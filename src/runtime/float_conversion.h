#pragma once

#include <cstdint>
#include <limits>

namespace stiltforge {

/// Truncation towards zero; what does not fit, NaN included, gives the most negative value, which
/// is what an x86-64 processor answers. In C++ such a cast would be undefined.
inline int32_t toInt32(double value) {
  if (value > -2147483649.0 && value < 2147483648.0) return static_cast<int32_t>(value);
  return std::numeric_limits<int32_t>::min();
}

/// The same for unsigned targets: negative values wrap, what fits neither 32-bit range gives 2^31.
inline uint32_t toUint32(double value) {
  if (value > -2147483649.0 && value < 4294967296.0) {
    return static_cast<uint32_t>(static_cast<int64_t>(value));
  }
  return uint32_t{1} << 31;
}

/// toInt32, then the low 16 bits.
inline uint16_t toUint16(double value) {
  return static_cast<uint16_t>(toInt32(value));
}

}  // namespace stiltforge
