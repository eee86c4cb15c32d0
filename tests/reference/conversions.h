#pragma once

#include <cstdint>
#include <limits>

namespace stiltforge::reference {

// Float to integer as an x86-64 processor truncates, for values that C++ leaves undefined too, so
// that every platform places the same supports. Floats widen to double without loss.

// Outside [-2^31, 2^31) and for NaN: the most negative number.
inline int32_t toInt32(double value) {
  if (!(value > -2147483649.0 && value < 2147483648.0)) return std::numeric_limits<int32_t>::min();
  return static_cast<int32_t>(value);
}

// The low 32 bits of the truncated value inside (-2^63, 2^63); 0 elsewhere and for NaN.
inline uint32_t toUint32(double value) {
  if (!(value > -0x1p63 && value < 0x1p63)) return 0;
  return static_cast<uint32_t>(static_cast<int64_t>(value));
}

}  // namespace stiltforge::reference
