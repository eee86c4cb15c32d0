#include "support/candidate_snap.h"

#include <limits>

namespace stiltforge {

CandidateSnap::CandidateSnap(const std::vector<Candidate>& candidates,
                             const Plane<uint16_t>& sampleX, const Plane<uint16_t>& sampleY)
    : sampleX_(sampleX), sampleY_(sampleY), kept_(sampleX.size()) {
  places_.reserve(candidates.size());
  for (const Candidate& candidate : candidates) {
    kept_[candidate.sample] = true;
    places_.push_back({sampleX[candidate.sample], sampleY[candidate.sample]});
  }
}

// Binary search of the samples, which ascend by row, then column.
bool CandidateSnap::isCandidate(Site place) const {
  const auto key = [](uint16_t x, uint16_t y) { return uint32_t{y} << 16 | x; };
  const uint32_t wanted = key(place.x, place.y);
  std::size_t first = 0;
  std::size_t count = sampleX_.size();
  while (count > 0) {
    const std::size_t half = count / 2;
    if (key(sampleX_[first + half], sampleY_[first + half]) < wanted) {
      first += half + 1;
      count -= half + 1;
    } else {
      count = half;
    }
  }
  return first < sampleX_.size() && key(sampleX_[first], sampleY_[first]) == wanted && kept_[first];
}

Site CandidateSnap::nearest(Site place) const {
  if (isCandidate(place)) return place;
  Site best;
  float bestDistance = std::numeric_limits<float>::infinity();
  for (const Site& site : places_) {
    const float distance = NearestSite::squaredDistance(place.x, place.y, site);
    if (distance < bestDistance) {
      bestDistance = distance;
      best = site;
    }
  }
  return best;
}

}  // namespace stiltforge
