#pragma once

#include <cstdint>
#include <vector>

namespace stiltforge::reference {

// A cone of weights, 255 at its centre and 0 from `radius` pixels on: a full square of
// side x side entries, row by row.
struct GhostSpread {
  float radius = 0.0f;
  uint32_t side = 0;  // ceil(2 radius)
  std::vector<float> weights;

  // The weight that a stamp reads at row i, column j. The row length of the index is 2 radius,
  // which is not the table's own where 2 radius is not whole.
  float weight(uint32_t i, uint32_t j) const;
};

GhostSpread createGhostSpread(float radius);

}  // namespace stiltforge::reference
