#include "hold/floating_bodies.h"

#include <algorithm>
#include <utility>

namespace stiltforge::hold {

FloatingBodies::FloatingBodies(const Survey& survey, const std::vector<uint8_t>& isUsable)
    : survey_(survey) {
  for (uint32_t i = 0; i < survey.points().size(); ++i) {
    if (isUsable[i] != 0 && survey.points()[i].place.track != Place::none) points_.push_back(i);
  }
  std::stable_sort(points_.begin(), points_.end(), [&](uint32_t a, uint32_t b) {
    return survey.points()[a].place.layer < survey.points()[b].place.layer;
  });
}

// Tracks, islands and links are sorted by their layer; all up to the given one come in, in the
// order of their layers.
void FloatingBodies::growTo(uint32_t layer) {
  const std::vector<RegionTracks::Track>& tracks = survey_.tracks().tracks();
  const std::vector<RegionTracks::Link>& links = survey_.tracks().links();
  for (; nextTrack_ < tracks.size() && tracks[nextTrack_].firstLayer <= layer; ++nextTrack_) {
    sets_.add();
    bodies_.push_back({{}, tracks[nextTrack_].firstLayer == 0});
    for (; nextLink_ < links.size() && links[nextLink_].upper == nextTrack_; ++nextLink_) {
      join(links[nextLink_].lower, links[nextLink_].upper);
    }
  }
  const std::vector<Island>& islands = survey_.islands();
  for (; nextIsland_ < islands.size() && islands[nextIsland_].place.layer <= layer; ++nextIsland_) {
    State& state = bodies_[sets_.root(islands[nextIsland_].place.track)];
    if (!state.isHeld) state.body.islands.push_back(static_cast<uint32_t>(nextIsland_));
  }
  const std::vector<Site>& points = survey_.points();
  for (; nextPoint_ < points_.size(); ++nextPoint_) {
    const Place& place = points[points_[nextPoint_]].place;
    if (place.layer > layer) break;
    State& state = bodies_[sets_.root(place.track)];
    if (!state.isHeld) state.body.points.push_back(points_[nextPoint_]);
  }
}

void FloatingBodies::join(uint32_t a, uint32_t b) {
  a = sets_.root(a);
  b = sets_.root(b);
  if (a == b) return;
  State one = std::move(bodies_[a]);
  State other = std::move(bodies_[b]);
  State& both = bodies_[sets_.unite(a, b)];
  both = {{}, one.isHeld || other.isHeld};
  if (both.isHeld) return;
  const auto merge = [](std::vector<uint32_t>& from, std::vector<uint32_t>& to) {
    if (from.size() > to.size()) std::swap(from, to);
    to.insert(to.end(), from.begin(), from.end());
  };
  merge(other.body.islands, one.body.islands);
  merge(other.body.points, one.body.points);
  both.body = std::move(one.body);
}

}  // namespace stiltforge::hold
