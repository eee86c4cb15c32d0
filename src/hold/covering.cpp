#include "hold/covering.h"

#include <algorithm>
#include <cstddef>
#include <functional>
#include <vector>

#include "hold/cancelled.h"
#include "hold/lazy_greedy.h"
#include "hold/overhang_reach.h"

namespace stiltforge::hold {

namespace {

// Keeps the candidate that is worth most by what it gains, in pixels, until none gains `least` or
// isEnough().
void keepBest(const Candidates& candidates, uint64_t least,
              const std::function<uint64_t(std::size_t)>& gainOf,
              const std::function<bool()>& isEnough, KeptPoints& kept,
              const std::atomic<bool>* cancelled) {
  const auto worthOf = [&](std::size_t candidate) {
    stopIfCancelled(cancelled);
    if (!candidates.isUsable(candidate) || kept.has(candidate)) return 0.0;
    const uint64_t gain = gainOf(candidate);
    return gain < least ? 0.0 : candidates.worthOf(candidate, gain);
  };
  takeGreedily(candidates.size(), worthOf, isEnough, [&](std::size_t candidate) {
    if (kept.isSpaced(candidates.placeOf(candidate))) kept.keep(candidates.pointOf(candidate));
  });
}

void coverAll(const Candidates& candidates, const OverhangReach& all,
              const std::function<bool()>& isEnough, KeptPoints& kept,
              const std::atomic<bool>* cancelled) {
  if (isEnough()) return;
  const std::vector<uint8_t> areNearOpen = all.areNearOpen(candidates.places());
  const auto gainOf = [&](std::size_t candidate) {
    const bool gains = areNearOpen[candidate] != 0 && !candidates.isOnSpeck(candidate);
    return gains ? all.gainOf(candidates.placeOf(candidate)) : 0;
  };
  keepBest(candidates, 1, gainOf, isEnough, kept, cancelled);
}

// A lambda: the types of a function and of its pointer would be exported on macOS.
constexpr auto never = [] { return false; };

}  // namespace

void coverSteepOverhang(const Candidates& candidates, KeptPoints& kept,
                        const std::atomic<bool>* cancelled) {
  const HeldOverhang& held = kept.held();
  keepBest(
      candidates, 1, [&](std::size_t candidate) { return held.gainOf(candidate); },
      [&] { return held.isEnoughNear(); }, kept, cancelled);
}

void coverAllOverhang(const Candidates& candidates, KeptPoints& kept,
                      const std::atomic<bool>* cancelled) {
  const HeldOverhang& held = kept.held();
  const auto isEnoughNear = [&] { return held.isEnoughOfAllNear(); };
  const auto isEnoughFar = [&] { return held.isEnoughOfAllFar(); };
  coverAll(candidates, held.allNear(), isEnoughNear, kept, cancelled);
  coverAll(candidates, held.allFar(), isEnoughFar, kept, cancelled);
}

void closeFarGaps(const Candidates& candidates, uint64_t leastPixels, KeptPoints& kept,
                  const std::atomic<bool>* cancelled) {
  const Coverage& far = kept.held().far();
  const auto gainOf = [&](std::size_t candidate) {
    const bool isInGap =
        !candidates.isAnalysed(candidate) && far.isOpen(candidates.sampleOf(candidate));
    return isInGap ? far.gainOf(candidates.placeOf(candidate)) : 0;
  };
  keepBest(candidates, leastPixels, gainOf, never, kept, cancelled);
}

void keepStrength(const Candidates& candidates, uint64_t leastPixels, KeptPoints& kept,
                  const std::atomic<bool>* cancelled) {
  const auto gainOf = [&](std::size_t candidate) {
    const bool counts = candidates.isAnalysed(candidate);
    return counts ? kept.held().own().gainOf(candidates.placeOf(candidate)) : 0;
  };
  keepBest(candidates, leastPixels, gainOf, never, kept, cancelled);
}

}  // namespace stiltforge::hold
