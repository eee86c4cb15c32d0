#include "hold/left_alone.h"

#include <algorithm>

namespace stiltforge::hold {

LeftAlone measureLeftAlone(const Survey& survey, const Coverage& coverage,
                           const std::vector<uint8_t>& isSpeck,
                           const std::vector<uint32_t>& islandsLeft) {
  // Layers between the plate and the place that a support there lacks.
  const auto missingLayers = [&](const Place& place) {
    const uint32_t needed = survey.roomLayersOnPlate();
    return needed - std::min(needed, place.layer);
  };
  LeftAlone left;
  uint32_t lift = 0;  // layers
  const auto liftFor = [&](const Place& place) {
    if (!place.hasRoom) lift = std::max(lift, missingLayers(place));
  };
  const std::vector<OverhangSample>& samples = survey.samples();
  for (std::size_t i = 0; i < samples.size(); ++i) {
    const Place& place = samples[i].place;
    if (coverage.counts(i) || isSpeck[place.track] != 0) continue;
    const double area = samples[i].pixels * survey.scale().pixelArea();
    if (survey.isSealed(place.space)) {
      left.sealedArea += area;
    } else {
      (missingLayers(place) > 0 ? left.areaNearPlate : left.areaNearPart) += area;
      liftFor(place);
    }
  }
  for (const uint32_t island : islandsLeft) {
    const Place& place = survey.islands()[island].place;
    if (isSpeck[place.track] == 0) liftFor(place);
  }
  left.lift = lift * survey.scale().layerHeight;
  return left;
}

}  // namespace stiltforge::hold
