#include "hold/relocation.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

#include "hold/cancelled.h"
#include "runtime/apart.h"

namespace stiltforge::hold {

namespace {

// The candidate that is worth most, and more than the point where it is; of equal ones the first.
STILTFORGE_APART std::optional<std::size_t> bestPlaceFor(std::size_t point,
                                                         const Candidates& candidates,
                                                         const KeptPoints& kept) {
  const Coverage& near = kept.held().near();
  const Place& place = kept.placeOf(point);
  const std::vector<uint32_t> alone = near.reachedAloneFrom(place);
  const uint64_t loss = near.lossOf(place);
  std::optional<std::size_t> best;
  double most = candidates.worthOf(kept.points()[point], loss);
  const auto isBetter = [&](std::size_t candidate, uint64_t pixels) {
    const double worth = candidates.worthOf(candidate, pixels);
    return worth > most || (worth == most && best && candidate < *best);
  };
  candidates.places().forEachNear(place, near.reach(), [&](uint32_t i) {
    const uint64_t open = kept.held().gainOf(i);
    // At most it holds all that the point does, and few need a closer look.
    if (!isBetter(i, open + loss) || !candidates.isUsable(i) || kept.has(i)) return;
    const Place& other = candidates.placeOf(i);
    const uint64_t gain = open + near.pixelsWithin(other, alone);
    if (!isBetter(i, gain) || gain < loss || !kept.isSpaced(other, point)) return;
    most = candidates.worthOf(i, gain);
    best = i;
  });
  return best;
}

}  // namespace

bool moveToBetterPlaces(const Candidates& candidates, HeldOverhang& held, KeptPoints& kept,
                        const std::atomic<bool>* cancelled) {
  bool anyMoved = false;
  for (std::size_t i = kept.pinned(); i < kept.points().size(); ++i) {
    stopIfCancelled(cancelled);
    const std::optional<std::size_t> best = bestPlaceFor(i, candidates, kept);
    if (!best || !held.holdsAsMuchFarAway(kept.placeOf(i), candidates.placeOf(*best))) continue;
    kept.replace(i, candidates.pointOf(*best));
    anyMoved = true;
  }
  return anyMoved;
}

}  // namespace stiltforge::hold
