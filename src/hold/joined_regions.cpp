#include "hold/joined_regions.h"

namespace stiltforge::hold {

JoinedRegions::JoinedRegions(const RegionTracks& tracks)
    : tracks_(tracks),
      linksOfUpper_(tracks.tracks().size() + 1, 0),
      linksOfLower_(tracks.tracks().size() + 1, 0),
      upperTrack_(tracks.links().size()),
      visit_(tracks.tracks().size(), 0) {
  for (const RegionTracks::Link& link : tracks.links()) {
    ++linksOfUpper_[link.upper + 1];
    ++linksOfLower_[link.lower + 1];
  }
  for (std::size_t i = 1; i < linksOfUpper_.size(); ++i) {
    linksOfUpper_[i] += linksOfUpper_[i - 1];
    linksOfLower_[i] += linksOfLower_[i - 1];
  }
  std::vector<uint32_t> next(linksOfLower_.begin(), linksOfLower_.end());
  for (const RegionTracks::Link& link : tracks.links()) {
    upperTrack_[next[link.lower]++] = link.upper;
  }
}

template <class Fn>
void JoinedRegions::forEachNeighbour(uint32_t track, Fn&& fn) const {
  for (uint32_t i = linksOfUpper_[track]; i < linksOfUpper_[track + 1]; ++i) {
    fn(tracks_.links()[i].lower);
  }
  for (uint32_t i = linksOfLower_[track]; i < linksOfLower_[track + 1]; ++i) fn(upperTrack_[i]);
}

bool JoinedRegions::areJoined(uint32_t a, uint32_t b, uint32_t first, uint32_t last) {
  if (a == b) return true;
  ++search_;
  open_.assign(1, a);
  visit_[a] = search_;
  uint32_t visited = 0;
  bool found = false;
  while (!open_.empty() && !found) {
    const uint32_t track = open_.back();
    open_.pop_back();
    ++visited_;
    if (++visited > mostTracks) return true;
    forEachNeighbour(track, [&](uint32_t neighbour) {
      const RegionTracks::Track& n = tracks_.tracks()[neighbour];
      if (visit_[neighbour] == search_ || n.lastLayer < first || n.firstLayer > last) return;
      visit_[neighbour] = search_;
      found = found || neighbour == b;
      open_.push_back(neighbour);
    });
  }
  return found;
}

}  // namespace stiltforge::hold
