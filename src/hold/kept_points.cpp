#include "hold/kept_points.h"

#include <cmath>
#include <limits>
#include <utility>

namespace stiltforge::hold {

KeptPoints::KeptPoints(const Survey& survey, Bodies& bodies, const FinishSettings& settings,
                       HeldOverhang& held)
    : survey_(survey),
      bodies_(bodies),
      held_(held),
      spacing_(settings.spacing),
      reach_(settings.reach),
      places_(survey.emptyGrid(reach_)),
      isKept_(survey.points().size(), 0) {}

bool KeptPoints::isSpaced(const Place& place, std::size_t but) const {
  const Scale scale = survey_.scale();
  return !places_.anyNear(place, spacing_, [&](uint32_t i) {
    return i != but && scale.squaredDistance(place, places_[i]) < spacing_ * spacing_ &&
           bodies_.areOne(place, places_[i]);
  });
}

std::optional<uint32_t> KeptPoints::nearestTo(const Place& place) const {
  const Scale scale = survey_.scale();
  std::optional<uint32_t> found;
  double nearest = reach_ * reach_;
  places_.forEachNear(place, reach_, [&](uint32_t i) {
    const double squared = scale.squaredDistance(place, places_[i]);
    const bool isNearer = squared < nearest || (squared == nearest && (!found || i < *found));
    if (!isNearer || !bodies_.areOne(place, places_[i])) return;
    nearest = squared;
    found = i;
  });
  return found;
}

double KeptPoints::distanceToNearest(const Place& place) const {
  const std::optional<uint32_t> nearest = nearestTo(place);
  if (!nearest) return std::numeric_limits<double>::infinity();
  return std::sqrt(survey_.scale().squaredDistance(place, placeOf(*nearest)));
}

void KeptPoints::keep(const FinishedPoint& point) {
  held_.add(point.site.place);
  places_.add(point.site.place);
  points_.push_back(point);
  setKept(point, true);
}

void KeptPoints::replace(std::size_t number, const FinishedPoint& point) {
  held_.remove(placeOf(number));
  setKept(points_[number], false);
  points_[number] = point;
  setKept(point, true);
  held_.add(point.site.place);
  places_.move(static_cast<uint32_t>(number), point.site.place);
}

void KeptPoints::release(std::size_t number) {
  held_.remove(placeOf(number));
  setKept(points_[number], false);
  released_.push_back(number);
}

void KeptPoints::removeReleased() {
  std::vector<uint8_t> isReleased(points_.size(), 0);
  for (const std::size_t number : released_) isReleased[number] = 1;
  std::vector<FinishedPoint> points;
  places_ = survey_.emptyGrid(reach_);
  for (std::size_t i = 0; i < points_.size(); ++i) {
    if (isReleased[i] != 0) continue;
    places_.add(placeOf(i));
    points.push_back(std::move(points_[i]));
  }
  points_ = std::move(points);
  released_.clear();
}

void KeptPoints::setKept(const FinishedPoint& point, bool isKept) {
  if (point.analysed != FinishedPoint::none) isKept_[point.analysed] = isKept ? 1 : 0;
}

}  // namespace stiltforge::hold
