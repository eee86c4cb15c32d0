#pragma once

#include <cstdint>
#include <vector>

#include "hold/region_tracks.h"

namespace stiltforge::hold {

/// Tells whether two regions are one within some layers.
class JoinedRegions {
 public:
  /// Keeps the tracks by reference.
  explicit JoinedRegions(const RegionTracks& tracks);

  /// Whether the two tracks hang together by material of layers [first, last] alone, which both of
  /// them reach into. Where that takes a way over more than mostTracks others, they count as
  /// joined.
  bool areJoined(uint32_t a, uint32_t b, uint32_t first, uint32_t last);

  static constexpr uint32_t mostTracks = 4096;

  /// Tracks that all searches together have come by.
  uint64_t visited() const { return visited_; }

 private:
  template <class Fn>
  void forEachNeighbour(uint32_t track, Fn&& fn) const;

  const RegionTracks& tracks_;
  std::vector<uint32_t> linksOfUpper_;  // where those of each upper track begin
  std::vector<uint32_t> linksOfLower_;  // where those of each lower track begin in upperTrack_
  std::vector<uint32_t> upperTrack_;
  std::vector<uint32_t> visit_;  // number of the last search that came by
  uint32_t search_ = 0;
  uint64_t visited_ = 0;
  std::vector<uint32_t> open_;
};

}  // namespace stiltforge::hold
