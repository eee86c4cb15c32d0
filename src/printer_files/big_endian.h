#pragma once

#include <cstdint>

#include "runtime/bit_cast.h"

namespace stiltforge::printer_files {

inline uint16_t bigEndian16(const uint8_t* bytes) {
  return static_cast<uint16_t>(bytes[0] << 8 | bytes[1]);
}

inline uint32_t bigEndian32(const uint8_t* bytes) {
  return uint32_t{bigEndian16(bytes)} << 16 | bigEndian16(bytes + 2);
}

inline float bigEndianFloat(const uint8_t* bytes) {
  return bitCast<float>(bigEndian32(bytes));
}

}  // namespace stiltforge::printer_files
