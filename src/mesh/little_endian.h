#pragma once

#include <cstdint>

namespace stiltforge::mesh {

/// Four bytes, the lowest first, wherever they lie.
inline std::uint32_t littleEndian32(const char* bytes) {
  const auto at = [bytes](int i) { return std::uint32_t{static_cast<unsigned char>(bytes[i])}; };
  return at(0) | at(1) << 8 | at(2) << 16 | at(3) << 24;
}

}  // namespace stiltforge::mesh
