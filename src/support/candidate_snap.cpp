#include "support/candidate_snap.h"

#include <limits>

namespace stiltforge {

CandidateSnap::CandidateSnap(const std::vector<Candidate>& candidates,
                             const Plane<uint16_t>& sampleX, const Plane<uint16_t>& sampleY) {
  places_.reserve(candidates.size());
  for (const Candidate& candidate : candidates) {
    places_.push_back({sampleX[candidate.sample], sampleY[candidate.sample]});
  }
}

Site CandidateSnap::nearest(Site place) const {
  Site best = places_.front();
  float bestDistance = std::numeric_limits<float>::infinity();
  for (const Site& candidate : places_) {
    const float distance = NearestSite::squaredDistance(place.x, place.y, candidate);
    if (distance < bestDistance) {
      bestDistance = distance;
      best = candidate;
      if (distance == 0.0f) break;
    }
  }
  return best;
}

}  // namespace stiltforge
