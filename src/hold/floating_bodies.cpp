#include "hold/floating_bodies.h"

#include <algorithm>
#include <cstddef>
#include <utility>

namespace stiltforge::hold {

namespace {

// Their numbers, those of the lowest layers first.
template <class PlaceOf>
std::vector<uint32_t> bottomFirst(std::vector<uint32_t> numbers, PlaceOf&& placeOf) {
  std::erase_if(numbers, [&](uint32_t i) { return placeOf(i).track == Place::none; });
  std::stable_sort(numbers.begin(), numbers.end(),
                   [&](uint32_t a, uint32_t b) { return placeOf(a).layer < placeOf(b).layer; });
  return numbers;
}

}  // namespace

FloatingBodies::FloatingBodies(const Survey& survey, std::vector<uint32_t> points,
                               std::vector<uint32_t> samples)
    : survey_(survey),
      points_(bottomFirst(std::move(points),
                          [&](uint32_t i) -> const Place& { return survey.points()[i].place; })),
      samples_(bottomFirst(std::move(samples),
                           [&](uint32_t i) -> const Place& { return survey.samples()[i].place; })) {
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
  const auto comeIn = [&](const std::vector<uint32_t>& numbers, std::size_t& next, auto&& placeOf,
                          std::vector<uint32_t> FloatingBody::*list) {
    for (; next < numbers.size() && placeOf(numbers[next]).layer <= layer; ++next) {
      State& state = bodies_[sets_.root(placeOf(numbers[next]).track)];
      if (!state.isHeld) (state.body.*list).push_back(numbers[next]);
    }
  };
  comeIn(
      points_, nextPoint_, [&](uint32_t i) -> const Place& { return survey_.points()[i].place; },
      &FloatingBody::points);
  comeIn(
      samples_, nextSample_, [&](uint32_t i) -> const Place& { return survey_.samples()[i].place; },
      &FloatingBody::samples);
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
  merge(other.body.samples, one.body.samples);
  both.body = std::move(one.body);
}

}  // namespace stiltforge::hold
