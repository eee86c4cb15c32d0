#pragma once

#include <cstdint>
#include <limits>
#include <span>
#include <vector>

#include "hold/place.h"
#include "hold/region_tracks.h"

namespace stiltforge::hold {

/// When each region of a part is held: from which layer on it hangs together with the plate or with
/// a point, by what has been printed so far.
class Anchoring {
 public:
  static constexpr uint32_t never = std::numeric_limits<uint32_t>::max();

  /// Points without a track hold nothing.
  Anchoring(const RegionTracks& tracks, std::span<const Site> points);

  /// The first layer in which the track is held, at or after its first; never, if the part ends
  /// before. Where it is taken only by what grows above it, that lies beyond its last layer.
  uint32_t heldFrom(uint32_t track) const { return heldFrom_[track]; }

 private:
  std::vector<uint32_t> heldFrom_;
};

}  // namespace stiltforge::hold
