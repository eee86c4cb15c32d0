#include "hold/gains.h"

#include <algorithm>

namespace stiltforge::hold {

Gains::Gains(const Survey& survey, const PointGrid& places, const Coverage& coverage,
             Bodies& bodies, const std::function<bool(std::size_t)>& isWanted)
    : survey_(survey),
      places_(places),
      bodies_(bodies),
      reach_(coverage.reach()),
      isWanted_(places.size(), 0),
      pixels_(places.size(), 0) {
  for (uint32_t i = 0; i < places.size(); ++i) {
    if (!isWanted(i)) continue;
    isWanted_[i] = 1;
    pixels_[i] = coverage.gainOf(places[i]);
  }
}

template <class Fn>
void Gains::forEachReaching(std::span<const uint32_t> samples, Fn&& fn) {
  for (const uint32_t sample : samples) {
    const Place& at = survey_.samples()[sample].place;
    places_.forEachNear(at, reach_, [&](uint32_t i) {
      if (isWanted_[i] == 0 || !bodies_.areOne(places_[i], at)) return;
      fn(pixels_[i], uint64_t{survey_.samples()[sample].pixels});
    });
  }
}

void Gains::take(std::span<const uint32_t> reachedSamples) {
  forEachReaching(reachedSamples, [](uint64_t& gain, uint64_t pixels) {
    // Bodies may take two places for one that they once told apart.
    gain -= std::min(gain, pixels);
  });
}

void Gains::giveBack(std::span<const uint32_t> freedSamples) {
  forEachReaching(freedSamples, [](uint64_t& gain, uint64_t pixels) { gain += pixels; });
}

}  // namespace stiltforge::hold
