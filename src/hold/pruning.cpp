#include "hold/pruning.h"

#include <cstddef>
#include <cstdint>
#include <queue>
#include <utility>
#include <vector>

#include "hold/cancelled.h"

namespace stiltforge::hold {

void dropNeedless(KeptPoints& kept, const std::function<bool(const FinishedPoint&)>& mayGo,
                  const std::atomic<bool>* cancelled) {
  const HeldOverhang& held = kept.held();
  // What a point loses only grows as others go, so that an earlier figure is a bound.
  using Bound = std::pair<uint64_t, std::size_t>;  // pixels, and the point
  std::priority_queue<Bound, std::vector<Bound>, std::greater<>> bounds;
  const auto offer = [&](std::size_t point) {
    stopIfCancelled(cancelled);
    bounds.push({held.near().lossOf(kept.placeOf(point)), point});
  };
  for (std::size_t i = kept.pinned(); i < kept.points().size(); ++i) {
    if (mayGo(kept.points()[i])) offer(i);
  }
  while (!bounds.empty()) {
    stopIfCancelled(cancelled);
    const auto [bound, point] = bounds.top();
    bounds.pop();
    const Place& place = kept.placeOf(point);
    const uint64_t loss = held.near().lossOf(place);
    if (loss > bound) {
      offer(point);
      continue;
    }
    if (loss > 0 && !held.isEnoughNear(loss)) break;
    if (held.isEnoughFarWithout(place)) kept.release(point);
  }
  kept.removeReleased();
}

}  // namespace stiltforge::hold
