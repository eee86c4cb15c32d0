#include "hold/overhang_reach.h"

#include <algorithm>

namespace stiltforge::hold {

OverhangReach::OverhangReach(const Survey& survey, double reach)
    : reach_(reach), cells_(survey.emptyGrid(reach)), points_(survey.overhangCells().size(), 0) {
  for (const OverhangCell& cell : survey.overhangCells()) {
    Place place;
    place.layer = cell.layer;
    place.x = cell.x;
    place.y = cell.y;
    cells_.add(place);
    pixels_.push_back(cell.pixels);
    whole_ += cell.pixels;
  }
}

void OverhangReach::findReachable(const PointGrid& places,
                                  const std::function<bool(uint32_t)>& mayStand) {
  reachable_ = reached_;
  for (uint32_t cell = 0; cell < points_.size(); ++cell) {
    if (points_[cell] != 0) continue;
    if (places.anyNear(cells_[cell], reach_, mayStand)) reachable_ += pixels_[cell];
  }
}

void OverhangReach::add(const Place& place) {
  forEachWithin(place, [&](uint32_t cell) {
    if (points_[cell]++ == 0) reached_ += pixels_[cell];
  });
}

void OverhangReach::remove(const Place& place) {
  forEachWithin(place, [&](uint32_t cell) {
    if (--points_[cell] == 0) reached_ -= pixels_[cell];
  });
}

uint64_t OverhangReach::gainOf(const Place& place) const {
  uint64_t pixels = 0;
  forEachWithin(place, [&](uint32_t cell) {
    if (points_[cell] == 0) pixels += pixels_[cell];
  });
  return pixels;
}

uint64_t OverhangReach::lossOf(const Place& place) const {
  uint64_t pixels = 0;
  forEachWithin(place, [&](uint32_t cell) {
    if (points_[cell] == 1) pixels += pixels_[cell];
  });
  return pixels;
}

bool OverhangReach::isEnough(double share, uint64_t loss) const {
  const auto whole = static_cast<double>(whole_);
  const auto reachable = static_cast<double>(reachable_);
  // To reach all that can be would take a point for each crumb.
  const double slack = (1 - share) / 5;
  const double most = (1 - slack) * reachable;
  const bool canBeEnough = (share - slack) * whole <= most;
  const double wanted = canBeEnough ? std::min(share * whole, most) : share * reachable;
  return static_cast<double>(reached_ - loss) >= wanted;
}

std::vector<uint8_t> OverhangReach::areNearOpen(const PointGrid& places) const {
  std::vector<uint8_t> areNear(places.size(), 0);
  for (uint32_t cell = 0; cell < points_.size(); ++cell) {
    if (points_[cell] != 0) continue;
    places.forEachNear(cells_[cell], reach_, [&](uint32_t place) { areNear[place] = 1; });
  }
  return areNear;
}

}  // namespace stiltforge::hold
