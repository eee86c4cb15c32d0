#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

#include "hold/bodies.h"
#include "hold/candidates.h"
#include "hold/coverage.h"
#include "hold/finish_settings.h"
#include "hold/gains.h"
#include "hold/overhang_reach.h"
#include "hold/place.h"
#include "hold/point_grid.h"
#include "hold/survey.h"

namespace stiltforge::hold {

/// What some points hold of a part's overhang, and whether it is enough: of the steep overhang each
/// that of its body, and of all overhang, in a straight line, what the judge counts.
class HeldOverhang {
 public:
  /// Survey and bodies by reference. isSpeck: see specksOf(). Throws Cancelled soon after the flag
  /// was raised.
  HeldOverhang(const Survey& survey, Bodies& bodies, const std::vector<uint8_t>& isSpeck,
               const FinishSettings& settings, const std::atomic<bool>* cancelled);

  void add(const Place& place);
  void remove(const Place& place);

  /// Steep overhang within FinishSettings::reach, farReach and ownReach.
  const Coverage& near() const { return near_; }
  const Coverage& far() const { return far_; }
  const Coverage& own() const { return own_; }
  /// All overhang within reach and farReach.
  const OverhangReach& allNear() const { return allNear_; }
  const OverhangReach& allFar() const { return allFar_; }

  /// Keeps up to date, until forgetGains(), what each usable candidate would gain of near().
  void trackGains(const Candidates& candidates, const std::atomic<bool>* cancelled);
  void forgetGains() { gains_.reset(); }
  /// While they are tracked.
  uint64_t gainOf(std::size_t candidate) const { return gains_->of(candidate); }

  /// Looks how much more of all overhang points at the candidates could reach. It comes before the
  /// questions whether enough of all overhang is held.
  void findReachable(const Candidates& candidates);
  bool isEnoughOfAllNear(uint64_t loss = 0) const { return allNear_.isEnough(share_, loss); }
  bool isEnoughOfAllFar(uint64_t loss = 0) const { return allFar_.isEnough(farShare_, loss); }

  /// Whether enough steep overhang lies within reach, with so many pixels less than do.
  bool isEnoughNear(uint64_t loss = 0) const;
  /// Whether no gap opens far from all points when the one there goes, and enough of all overhang
  /// stays held.
  bool isEnoughFarWithout(const Place& place) const;
  /// Whether as much steep overhang lies within farReach, or less only by what makes no gap, when
  /// the point at `from` moves to `to`.
  bool holdsAsMuchFarAway(const Place& from, const Place& to);

 private:
  const Survey& survey_;
  Bodies& bodies_;
  const double share_;
  const double farShare_;
  const uint64_t margin_;    // pixels
  const uint64_t leastGap_;  // pixels
  const PointGrid samples_;
  Coverage near_;
  Coverage far_;
  Coverage own_;
  OverhangReach allNear_;
  OverhangReach allFar_;
  std::optional<Gains> gains_;
};

}  // namespace stiltforge::hold
