#pragma once

#include <cstdint>
#include <vector>

#include "hold/components.h"

namespace stiltforge::check {

/// A pixel of a layer.
struct Spot {
  uint32_t layer = 0;  ///< from 0, the layer on the plate
  uint16_t x = 0;      ///< column
  uint16_t y = 0;      ///< row
};

/// Where something lies that reaches over some layers.
struct Extent {
  uint32_t firstLayer = 0;
  uint32_t lastLayer = 0;
  uint16_t left = 0;    ///< first column
  uint16_t right = 0;   ///< last column
  uint16_t top = 0;     ///< first row
  uint16_t bottom = 0;  ///< last row
  uint64_t pixels = 0;
  uint64_t firstPixels = 0;  ///< of them, those of the layer on the plate, which may be thicker
  /// The largest connected piece of it in one layer, of equal ones the first.
  uint32_t pieceSize = 0;
  Spot piece;  ///< the piece's pixel nearest to its centre

  void join(const Extent& other);
};

/// Of each component of a layer that is wanted; others stay empty.
std::vector<Extent> extentsOf(const hold::Components& components, uint32_t layer,
                              const std::vector<uint8_t>& isWanted);

}  // namespace stiltforge::check
