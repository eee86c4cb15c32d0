#include "hold/coverage.h"

#include <algorithm>

namespace stiltforge::hold {

Coverage::Coverage(const Survey& survey, const PointGrid& samples, Bodies& bodies, double reach)
    : survey_(survey),
      samples_(samples),
      bodies_(bodies),
      scale_{survey.settings().pixelSize, survey.settings().layerHeight},
      reach_(reach),
      reached_(samples.size(), 0) {
  for (uint32_t i = 0; i < survey.samples().size(); ++i) {
    const OverhangSample& sample = survey.samples()[i];
    if (survey.isSealed(sample.place.space)) {
      reached_[i] = 1;
    } else {
      pixels_ += sample.pixels;
    }
  }
}

template <class Fn>
void Coverage::forEachUnreached(const Place& place, Fn&& fn) const {
  const Run pixel{place.x, static_cast<uint16_t>(place.x + 1)};
  samples_.forEachNear(pixel, place.y, place.layer, reach_, [&](uint32_t sample) {
    if (reached_[sample] != 0) return;
    const Place& at = samples_[sample];
    if (scale_.squaredDistance(place, at) <= reach_ * reach_ && bodies_.areOne(place, at)) {
      fn(sample);
    }
  });
}

uint64_t Coverage::gainOf(const Place& place) const {
  uint64_t pixels = 0;
  forEachUnreached(place, [&](uint32_t sample) { pixels += survey_.samples()[sample].pixels; });
  return pixels;
}

void Coverage::add(const Place& place) {
  forEachUnreached(place, [&](uint32_t sample) {
    reached_[sample] = 1;
    reachedPixels_ += survey_.samples()[sample].pixels;
  });
}

}  // namespace stiltforge::hold
