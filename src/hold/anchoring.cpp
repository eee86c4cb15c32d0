#include "hold/anchoring.h"

#include <algorithm>
#include <utility>

#include "runtime/disjoint_sets.h"

namespace stiltforge::hold {

namespace {

// Bodies of tracks that hang together, as the part grows.
class Bodies {
 public:
  explicit Bodies(std::vector<uint32_t>& heldFrom) : heldFrom_(heldFrom) {}

  void add() {
    sets_.add();
    floating_.push_back({static_cast<uint32_t>(floating_.size())});
  }
  void unite(uint32_t a, uint32_t b, uint32_t layer) {
    a = sets_.root(a);
    b = sets_.root(b);
    if (a == b) return;
    if (floating_[a].empty()) hold(b, layer);
    if (floating_[b].empty()) hold(a, layer);
    if (floating_[a].size() < floating_[b].size()) std::swap(floating_[a], floating_[b]);
    floating_[a].insert(floating_[a].end(), floating_[b].begin(), floating_[b].end());
    floating_[b].clear();
    std::swap(floating_[sets_.unite(a, b)], floating_[a]);
  }
  void hold(uint32_t track, uint32_t layer) {
    std::vector<uint32_t>& members = floating_[sets_.root(track)];
    for (const uint32_t member : members) heldFrom_[member] = layer;
    members.clear();
  }

 private:
  std::vector<uint32_t>& heldFrom_;
  DisjointSets sets_;
  std::vector<std::vector<uint32_t>> floating_;  // by root; none left once the body is held
};

}  // namespace

Anchoring::Anchoring(const RegionTracks& tracks, std::span<const Site> points)
    : heldFrom_(tracks.tracks().size(), never) {
  std::vector<Place> holds;
  for (const Site& point : points) {
    if (point.place.track != Place::none) holds.push_back(point.place);
  }
  std::sort(holds.begin(), holds.end(),
            [](const Place& a, const Place& b) { return a.layer < b.layer; });
  Bodies bodies(heldFrom_);
  auto next = holds.begin();
  const auto holdBelow = [&](uint32_t layer) {
    for (; next != holds.end() && next->layer < layer; ++next)
      bodies.hold(next->track, next->layer);
  };
  auto link = tracks.links().begin();
  for (uint32_t track = 0; track < heldFrom_.size(); ++track) {
    const uint32_t first = tracks.tracks()[track].firstLayer;
    holdBelow(first);
    bodies.add();
    if (first == 0) bodies.hold(track, 0);
    for (; link != tracks.links().end() && link->upper == track; ++link) {
      bodies.unite(link->lower, track, first);
    }
  }
  holdBelow(never);
}

}  // namespace stiltforge::hold
