#include "hold/surroundings.h"

#include <utility>

namespace stiltforge::hold {

void Surroundings::add(const RunRows& material) {
  below_ = std::move(regions_);
  regions_ = findComponents(material, Contact::sidesAndCorners);
  tracks_.add(regions_, below_);
  space_.add(material, below_.pixels);
  room_.add(material);
  ++layerCount_;
}

Place Surroundings::placeAt(int x, int y) const {
  Place place;
  place.layer = layer();
  place.x = static_cast<uint16_t>(x);
  place.y = static_cast<uint16_t>(y);
  place.track = trackAt(x, y);
  place.space = spaceBelow(x, y);
  place.hasRoom = room_.isBelow(x, y);
  return place;
}

uint32_t Surroundings::trackAt(int x, int y) const {
  const uint32_t region = regions_.at(x, y);
  return region == Components::none ? Place::none : tracks_.trackOf(region);
}

}  // namespace stiltforge::hold
