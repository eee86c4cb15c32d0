#include "hold/held_overhang.h"

#include <algorithm>

#include "hold/cancelled.h"

namespace stiltforge::hold {

namespace {

PointGrid gridOfSamples(const Survey& survey, double cellSize) {
  PointGrid grid = survey.emptyGrid(cellSize);
  for (const OverhangSample& sample : survey.samples()) grid.add(sample.place);
  return grid;
}

}  // namespace

HeldOverhang::HeldOverhang(const Survey& survey, Bodies& bodies,
                           const std::vector<uint8_t>& isSpeck, const FinishSettings& settings,
                           const std::atomic<bool>* cancelled)
    : survey_(survey),
      bodies_(bodies),
      share_(settings.share),
      farShare_(settings.farShare),
      margin_(survey.scale().pixelsFor(settings.margin)),
      leastGap_(survey.scale().pixelsFor(settings.leastGap)),
      samples_(gridOfSamples(survey, settings.reach)),
      near_(survey, samples_, bodies, isSpeck, settings.reach, cancelled),
      far_(survey, samples_, bodies, isSpeck, settings.farReach, cancelled),
      own_(survey, samples_, bodies, isSpeck, settings.ownReach, cancelled),
      allNear_(survey, settings.reach),
      allFar_(survey, settings.farReach) {}

void HeldOverhang::add(const Place& place) {
  const std::vector<uint32_t> reached = near_.add(place);
  if (gains_) gains_->take(reached);
  far_.add(place);
  own_.add(place);
  allNear_.add(place);
  allFar_.add(place);
}

void HeldOverhang::remove(const Place& place) {
  const std::vector<uint32_t> freed = near_.remove(place);
  if (gains_) gains_->giveBack(freed);
  far_.remove(place);
  own_.remove(place);
  allNear_.remove(place);
  allFar_.remove(place);
}

void HeldOverhang::trackGains(const Candidates& candidates, const std::atomic<bool>* cancelled) {
  gains_.emplace(survey_, candidates.places(), near_, bodies_, [&](std::size_t candidate) {
    stopIfCancelled(cancelled);
    return candidates.isUsable(candidate);
  });
}

void HeldOverhang::findReachable(const Candidates& candidates) {
  const auto mayStand = [&](uint32_t candidate) {
    return candidates.isUsable(candidate) && !candidates.isOnSpeck(candidate);
  };
  allNear_.findReachable(candidates.places(), mayStand);
  allFar_.findReachable(candidates.places(), mayStand);
}

bool HeldOverhang::isEnoughNear(uint64_t loss) const {
  const auto whole = static_cast<double>(near_.pixels());
  const double wanted = share_ * whole + static_cast<double>(margin_);
  return static_cast<double>(near_.reachedPixels() - loss) >= std::min(wanted, whole);
}

bool HeldOverhang::isEnoughFarWithout(const Place& place) const {
  if (far_.lossOf(place) >= std::max<uint64_t>(leastGap_, 1)) return false;
  const uint64_t nearLoss = allNear_.lossOf(place);
  if (nearLoss > 0 && !isEnoughOfAllNear(nearLoss)) return false;
  const uint64_t farLoss = allFar_.lossOf(place);
  return farLoss == 0 || isEnoughOfAllFar(farLoss);
}

bool HeldOverhang::holdsAsMuchFarAway(const Place& from, const Place& to) {
  const uint64_t loss = far_.lossOf(from);
  if (loss < leastGap_) return true;
  far_.remove(from);
  const bool holdsAll = far_.gainOf(to) >= loss;
  far_.add(from);
  return holdsAll;
}

}  // namespace stiltforge::hold
