#include "hold/specks.h"

namespace stiltforge::hold {

std::vector<uint8_t> specksOf(const Survey& survey, uint32_t layers) {
  const std::vector<RegionTracks::Track>& tracks = survey.tracks().tracks();
  std::vector<uint8_t> isSpeck(tracks.size(), 0);
  for (const Island& island : survey.islands()) {
    const RegionTracks::Track& track = tracks[island.place.track];
    const bool endsSoon = track.lastLayer - track.firstLayer < layers;
    isSpeck[island.place.track] = island.pixels == 1 && endsSoon ? 1 : 0;
  }
  for (const RegionTracks::Link& link : survey.tracks().links()) {
    isSpeck[link.lower] = isSpeck[link.upper] = 0;
  }
  return isSpeck;
}

}  // namespace stiltforge::hold
