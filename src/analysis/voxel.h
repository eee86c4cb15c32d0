#pragma once

#include <cstdint>
#include <iosfwd>

namespace stiltforge {

/// A support point, at the pixel where it touches the part. Groups of higher layers that rest on it
/// hold it by pointer, as a ghost support.
struct Voxel {
  uint32_t index = 0;  ///< y * slice width + x of the candidate that seeded it
  uint16_t x = 0;      ///< column, pixels
  uint16_t y = 0;      ///< row, pixels
  uint16_t z = 0;      ///< 1 + index of its layer
  bool isSupport = false;
  bool isMinima = false;  ///< placed for an island
  bool toDelete = false;  ///< retired as a ghost; inheritance skips it
  float score = 0;        ///< placement score of the seeding candidate; low = needs support most
};

/// Writes "(score)".
std::ostream& operator<<(std::ostream& out, const Voxel& voxel);

}  // namespace stiltforge
