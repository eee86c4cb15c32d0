#include "hold/coverage.h"

namespace stiltforge::hold {

Coverage::Coverage(const Survey& survey, const PointGrid& samples, Bodies& bodies,
                   const std::vector<uint8_t>& isSpeck, double reach,
                   const std::atomic<bool>* cancelled)
    : survey_(survey),
      samples_(samples),
      bodies_(bodies),
      reach_(reach),
      points_(samples.size(), 0) {
  for (uint32_t i = 0; i < survey.samples().size(); ++i) {
    stopIfCancelled(cancelled);
    const OverhangSample& sample = survey.samples()[i];
    if (isSpeck[sample.place.track] != 0 || survey.isSealed(sample.place.space) ||
        !canBeReached(sample.place)) {
      points_[i] = ignored;
    } else {
      pixels_ += sample.pixels;
    }
  }
}

template <class Wanted, class Fn>
void Coverage::forEachHeld(const Place& place, Wanted&& wanted, Fn&& fn) const {
  samples_.forEachNear(place, reach_, [&](uint32_t sample) {
    if (!wanted(sample)) return;
    if (bodies_.areOne(place, samples_[sample])) fn(sample);
  });
}

bool Coverage::canBeReached(const Place& place) const {
  bool found = place.hasRoom;
  if (found) return true;
  forEachHeld(
      place, [&](uint32_t sample) { return !found && samples_[sample].hasRoom; },
      [&](uint32_t) { found = true; });
  return found;
}

uint64_t Coverage::gainOf(const Place& place) const {
  uint64_t pixels = 0;
  forEachHeld(
      place, [&](uint32_t sample) { return isOpen(sample); },
      [&](uint32_t sample) { pixels += survey_.samples()[sample].pixels; });
  return pixels;
}

std::vector<uint32_t> Coverage::add(const Place& place) {
  std::vector<uint32_t> reached;
  forEachHeld(
      place, [&](uint32_t sample) { return counts(sample); },
      [&](uint32_t sample) {
        if (points_[sample]++ > 0) return;
        reachedPixels_ += survey_.samples()[sample].pixels;
        reached.push_back(sample);
      });
  return reached;
}

uint64_t Coverage::lossOf(const Place& place) const {
  uint64_t pixels = 0;
  forEachHeld(
      place, [&](uint32_t sample) { return isAlone(sample); },
      [&](uint32_t sample) { pixels += survey_.samples()[sample].pixels; });
  return pixels;
}

std::vector<uint32_t> Coverage::reachedAloneFrom(const Place& place) const {
  std::vector<uint32_t> alone;
  forEachHeld(
      place, [&](uint32_t sample) { return isAlone(sample); },
      [&](uint32_t sample) { alone.push_back(sample); });
  return alone;
}

uint64_t Coverage::pixelsWithin(const Place& place, std::span<const uint32_t> samples) const {
  const Scale scale = survey_.scale();
  uint64_t pixels = 0;
  for (const uint32_t sample : samples) {
    if (scale.squaredDistance(place, samples_[sample]) > reach_ * reach_) continue;
    if (bodies_.areOne(place, samples_[sample])) pixels += survey_.samples()[sample].pixels;
  }
  return pixels;
}

std::vector<uint32_t> Coverage::remove(const Place& place) {
  std::vector<uint32_t> freed;
  forEachHeld(
      place, [&](uint32_t sample) { return counts(sample); },
      [&](uint32_t sample) {
        // Of a body whose searches have become too many it may hold more than when it came.
        if (isOpen(sample) || --points_[sample] > 0) return;
        reachedPixels_ -= survey_.samples()[sample].pixels;
        freed.push_back(sample);
      });
  return freed;
}

}  // namespace stiltforge::hold
