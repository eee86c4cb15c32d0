#include "support/candidate_snap.h"

#include <algorithm>
#include <limits>

namespace stiltforge {

namespace {

constexpr uint32_t noRank = std::numeric_limits<uint32_t>::max();

}  // namespace

struct CandidateSnap::Best {
  float distance = std::numeric_limits<float>::infinity();
  uint32_t rank = noRank;
  Site site;

  void offer(Site other, float otherDistance, uint32_t otherRank) {
    if (otherDistance > distance || (otherDistance == distance && otherRank > rank)) return;
    *this = {otherDistance, otherRank, other};
  }
};

CandidateSnap::CandidateSnap(const ScratchVector<Candidate>& candidates,
                             const Plane<uint16_t>& sampleX, const Plane<uint16_t>& sampleY)
    : top_(sampleY[0]) {
  ScratchVector<uint32_t> rankOf(sampleX.size(), noRank);
  for (uint32_t rank = 0; rank < candidates.size(); ++rank) rankOf[candidates[rank].sample] = rank;
  places_.reserve(candidates.size());
  for (std::size_t s = 0; s < rankOf.size(); ++s) {
    if (rankOf[s] == noRank) continue;
    while (rowFirst_.size() <= static_cast<std::size_t>(sampleY[s] - top_)) {
      rowFirst_.push_back(static_cast<uint32_t>(places_.size()));
    }
    places_.push_back({sampleX[s], rankOf[s]});
  }
  rowFirst_.push_back(static_cast<uint32_t>(places_.size()));
}

void CandidateSnap::searchRow(Site place, int32_t row, Best& best) const {
  const auto y = static_cast<uint16_t>(top_ + row);
  const Place* const begin = places_.data() + rowFirst_[static_cast<std::size_t>(row)];
  const Place* const end = places_.data() + rowFirst_[static_cast<std::size_t>(row) + 1];
  const Place* const middle = std::lower_bound(
      begin, end, place.x, [](const Place& p, uint16_t column) { return p.x < column; });
  // Rounded distances still grow with each step away, so the first one beyond the best ends a side.
  for (const Place* p = middle; p != end; ++p) {
    const float distance = NearestSite::squaredDistance(place.x, place.y, {p->x, y});
    if (distance > best.distance) break;
    best.offer({p->x, y}, distance, p->rank);
  }
  for (const Place* p = middle; p != begin;) {
    --p;
    const float distance = NearestSite::squaredDistance(place.x, place.y, {p->x, y});
    if (distance > best.distance) break;
    best.offer({p->x, y}, distance, p->rank);
  }
}

Site CandidateSnap::nearest(Site place) const {
  const auto rows = static_cast<int32_t>(rowFirst_.size()) - 1;
  const auto isWithin = [&](int32_t row, const Best& best) {
    const Site closest{place.x, static_cast<uint16_t>(top_ + row)};
    return NearestSite::squaredDistance(place.x, place.y, closest) <= best.distance;
  };
  Best best;
  int32_t below = std::clamp(place.y - top_, 0, rows);
  int32_t above = below - 1;
  while (true) {
    const bool searchesBelow = below < rows && isWithin(below, best);
    if (searchesBelow) searchRow(place, below++, best);
    const bool searchesAbove = above >= 0 && isWithin(above, best);
    if (searchesAbove) searchRow(place, above--, best);
    if (!searchesBelow && !searchesAbove) return best.site;
  }
}

}  // namespace stiltforge
