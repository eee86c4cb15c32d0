#pragma once

#include <cstdint>
#include <span>

#include "slicing/mesh_part.h"

namespace stiltforge::slicing {

/// How far apart the boxes of two parts may be that still count as touching, in mm: what slices
/// cannot tell.
struct Contact {
  double across = 0;  ///< in x and y: a pixel
  double up = 0;      ///< a layer
};

/// Parts of a mesh that neither stand on the plate nor hang together with one that does. Parts
/// without a volume do not count, and touching boxes are taken for touching parts, so a part may
/// float that is not found, but none is found that does not.
struct FloatingParts {
  uint32_t count = 0;
  double from = 0;  ///< mm from the plate to the lowest point of the lowest of them; 0 without any
};

/// `plate` is its z in the mesh. Parts are compared pairwise: none is found among more than 4096.
FloatingParts findFloatingParts(std::span<const MeshPart> parts, double plate,
                                const Contact& contact);

}  // namespace stiltforge::slicing
