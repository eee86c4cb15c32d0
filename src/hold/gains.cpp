#include "hold/gains.h"

#include <algorithm>

namespace stiltforge::hold {

Gains::Gains(const Survey& survey, const PointGrid& places, const Coverage& coverage,
             Bodies& bodies, const std::function<bool(std::size_t)>& isWanted)
    : survey_(survey),
      places_(places),
      bodies_(bodies),
      reach_(coverage.reach()),
      pixels_(places.size(), 0) {
  for (uint32_t i = 0; i < places.size(); ++i) {
    if (isWanted(i)) pixels_[i] = coverage.gainOf(places[i]);
  }
}

void Gains::take(std::span<const uint32_t> reachedSamples) {
  for (const uint32_t sample : reachedSamples) {
    const Place& at = survey_.samples()[sample].place;
    const uint64_t pixels = survey_.samples()[sample].pixels;
    const Run pixel{at.x, static_cast<uint16_t>(at.x + 1)};
    places_.forEachNear(pixel, at.y, at.layer, reach_, [&](uint32_t i) {
      if (pixels_[i] == 0 || !bodies_.areOne(places_[i], at)) return;
      // Bodies may take two places for one that they once told apart.
      pixels_[i] -= std::min(pixels_[i], pixels);
    });
  }
}

}  // namespace stiltforge::hold
