#pragma once

#include <algorithm>
#include <cstdint>
#include <unordered_map>

#include "hold/joined_regions.h"
#include "hold/place.h"

namespace stiltforge::hold {

/// Tells which places of a part belong to one body: those joined by material of the layers between
/// the two and some above. In a part of crumbs without end, where that takes searches over more
/// than mostVisited regions in all, what is not known by then counts as one.
class Bodies {
 public:
  static constexpr uint64_t mostVisited = 1 << 20;

  /// Keeps the tracks by reference.
  Bodies(const RegionTracks& tracks, uint32_t layersAbove)
      : regions_(tracks), layersAbove_(layersAbove) {}

  bool areOne(const Place& a, const Place& b) {
    return a.track == b.track ||
           areJoined(std::min(a.track, b.track), std::max(a.track, b.track),
                     {std::min(a.layer, b.layer), std::max(a.layer, b.layer) + layersAbove_});
  }

 private:
  struct Layers {
    uint32_t first = 0;
    uint32_t last = 0;
  };
  // Two tracks that are joined by some layers are so by more, and if not then not by fewer. The
  // same two are asked for again and again.
  struct Known {
    Layers joined;
    Layers apart;
    bool isJoined = false;
    bool isApart = false;
  };

  bool areJoined(uint32_t a, uint32_t b, Layers layers);

  JoinedRegions regions_;
  uint32_t layersAbove_;
  std::unordered_map<uint64_t, Known> known_;
};

}  // namespace stiltforge::hold
