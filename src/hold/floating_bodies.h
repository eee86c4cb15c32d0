#pragma once

#include <cstdint>
#include <vector>

#include "hold/disjoint_sets.h"
#include "hold/survey.h"

namespace stiltforge::hold {

/// What hangs together in the air and that nothing holds yet.
struct FloatingBody {
  std::vector<uint32_t> islands;  ///< with which it began, by their numbers in Survey::islands()
  std::vector<uint32_t> points;   ///< usable ones that stand on it, numbers in Survey::points()
};

/// Walks a part bottom up and finds the bodies that float for too long. As few points as can be do
/// when each such body gets one as late as may be: by then most has grown together.
class FloatingBodies {
 public:
  /// isUsable: of each point of the survey, whether it may hold something. The survey by reference.
  FloatingBodies(const Survey& survey, const std::vector<uint8_t>& isUsable);

  /// Calls hold(body) for each body that still floats `layers` layers above one of its islands.
  /// When it returns true a point holds it from then on; otherwise it is asked again when the next
  /// of its islands is due.
  template <class Hold>
  void forEachDue(uint32_t layers, Hold&& hold) {
    for (const Island& due : survey_.islands()) {
      growTo(due.place.layer + layers);
      State& state = bodies_[sets_.root(due.place.track)];
      if (state.isHeld || !hold(state.body)) continue;
      state = {{}, true};
    }
  }

 private:
  struct State {
    FloatingBody body;
    bool isHeld = false;
  };

  void growTo(uint32_t layer);
  void join(uint32_t a, uint32_t b);

  const Survey& survey_;
  std::vector<uint32_t> points_;  // bottom first
  // Of each, the first that is still to come.
  std::size_t nextPoint_ = 0;
  std::size_t nextIsland_ = 0;
  std::size_t nextTrack_ = 0;
  std::size_t nextLink_ = 0;
  DisjointSets sets_;
  std::vector<State> bodies_;  // by root
};

}  // namespace stiltforge::hold
