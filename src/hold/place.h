#pragma once

#include <cstdint>

#include "hold/components.h"

namespace stiltforge::hold {

/// A pixel of a layer, and what is known of it.
struct Place {
  static constexpr uint32_t none = Components::none;

  uint32_t layer = 0;     ///< from 0, the layer on the plate
  uint16_t x = 0;         ///< column, pixels
  uint16_t y = 0;         ///< row, pixels
  uint32_t track = none;  ///< of the region that it belongs to, see RegionTracks
  uint32_t space = none;  ///< that it looks down into, see EmptySpace
  bool hasRoom = false;   ///< for a support of the minimum height
};

/// A region that rests on nothing in the layer where it begins.
struct Island {
  Place place;  ///< its pixel nearest to its centre
  uint32_t pixels = 0;
};

/// Steep overhang in one cell of a grid.
struct OverhangSample {
  /// The pixel that hangs furthest out, of equal ones that deepest inside; one with room if any
  /// has.
  Place place;
  uint32_t pixels = 0;
};

/// A support point as a host gives it.
struct SupportPoint {
  uint16_t x = 0;
  uint16_t y = 0;
  bool isIsland = false;
};

/// A support point in its part.
struct Site {
  enum class Touches : uint8_t { overhang, heldMaterial, nothing };

  Place place;
  bool isIsland = false;  ///< meant for an island
  Touches touches = Touches::nothing;
};

}  // namespace stiltforge::hold
