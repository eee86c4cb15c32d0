#pragma once

#include <cstdint>
#include <vector>

#include "check/reach.h"
#include "hold/components.h"

namespace stiltforge::check {

/// Which of the bodies that reach up to a layer, and which of its components, become one body.
/// Bodies are numbered from 0 at each layer anew.
struct JoinedLayer {
  uint32_t count = 0;                 ///< of the bodies with this layer
  std::vector<uint32_t> ofBody;       ///< by body before; every one keeps one
  std::vector<uint32_t> ofComponent;  ///< by component
};

/// Components are joined with the bodies with which they share a pixel. bodyOf: of each component
/// of the layer below. `anchored`: components that belong to body 0 in any case.
JoinedLayer joinLayers(const hold::Components& layer, const hold::Components& below,
                       const std::vector<uint32_t>& bodyOf, uint32_t bodies,
                       const std::vector<uint32_t>& anchored = {});

/// The same for bodies of which a pixel lies within reach of one of the component's.
JoinedLayer joinLayersWithin(const Reach& reach, const hold::Components& layer,
                             const hold::Components& below, const std::vector<uint32_t>& bodyOf,
                             uint32_t bodies);

}  // namespace stiltforge::check
