#pragma once

#include <cstdint>
#include <utility>
#include <vector>

#include "hold/components.h"

namespace stiltforge::hold {

/// How the regions of a part continue from layer to layer, in a few numbers a branch.
///
/// A track is a region as long as it rests on one region alone that carries nothing else. It ends
/// where regions part or join, and other tracks begin there.
class RegionTracks {
 public:
  struct Track {
    uint32_t firstLayer = 0;
    uint32_t lastLayer = 0;
  };
  /// The lower one ends in the layer below the first of the upper one, which rests on it.
  struct Link {
    uint32_t lower = 0;
    uint32_t upper = 0;
  };

  /// Takes the regions of the next layer, bottom first. `below` are those of the last call.
  void add(const Components& regions, const Components& below);

  /// Of a region of the layer last added.
  uint32_t trackOf(uint32_t region) const { return trackOf_[region]; }
  /// Whether that region rests on nothing, not even the plate.
  bool isIsland(uint32_t region) const { return isIsland_[region] != 0; }

  /// In the order in which they begin.
  const std::vector<Track>& tracks() const { return tracks_; }
  /// Ascending by the upper, then by the lower track.
  const std::vector<Link>& links() const { return links_; }

 private:
  // A region of the layer last added and one of the layer below it that share pixels.
  using RegionPair = std::pair<uint32_t, uint32_t>;

  void findContacts(const Components& regions, const Components& below);

  uint32_t layerCount_ = 0;
  std::vector<RegionPair> contacts_;
  std::vector<uint32_t> lastContact_;  // of each region the one below that it touched last
  std::vector<uint32_t> carries_;      // of each region below, how many rest on it
  std::vector<uint32_t> lowerTrack_;
  std::vector<uint32_t> trackOf_;
  std::vector<uint8_t> isIsland_;
  std::vector<Track> tracks_;
  std::vector<Link> links_;
};

}  // namespace stiltforge::hold
