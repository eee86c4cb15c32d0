#pragma once

#include <cstdint>
#include <limits>
#include <vector>

#include "hold/survey.h"
#include "runtime/disjoint_sets.h"

namespace stiltforge::hold {

/// What hangs together in the air and that nothing holds yet.
struct FloatingBody {
  std::vector<uint32_t> islands;  ///< with which it began, by their numbers in Survey::islands()
  std::vector<uint32_t> points;   ///< usable ones that stand on it, numbers in Survey::points()
  std::vector<uint32_t> samples;  ///< the same, numbers in Survey::samples()
};

/// Walks a part bottom up and finds the bodies that float for too long. As few points as can be do
/// when each such body gets one as late as may be: by then most has grown together.
class FloatingBodies {
 public:
  /// points, samples: of the survey, by their numbers, where a point may stand. The survey by
  /// reference.
  FloatingBodies(const Survey& survey, std::vector<uint32_t> points, std::vector<uint32_t> samples);

  /// Calls hold(body) for each body that still floats `layers` layers above one of its islands.
  /// When it returns true nothing more is to be done for it; otherwise it is asked again when the
  /// next of its islands is due, and at the end, when all has come that stands on it.
  template <class Hold>
  void forEachDue(uint32_t layers, Hold&& hold) {
    std::vector<uint32_t> refused;  // tracks
    const auto ask = [&](uint32_t track) {
      State& state = bodies_[sets_.root(track)];
      if (state.isHeld) return true;
      if (!hold(state.body)) return false;
      state = {{}, true};
      return true;
    };
    for (const Island& due : survey_.islands()) {
      growTo(due.place.layer + layers);
      if (!ask(due.place.track)) refused.push_back(due.place.track);
    }
    growTo(std::numeric_limits<uint32_t>::max());
    for (const uint32_t track : refused) ask(track);
  }

 private:
  struct State {
    FloatingBody body;
    bool isHeld = false;
  };

  void growTo(uint32_t layer);
  void join(uint32_t a, uint32_t b);

  const Survey& survey_;
  std::vector<uint32_t> points_;   // bottom first
  std::vector<uint32_t> samples_;  // the same
  // Of each, the first that is still to come.
  std::size_t nextPoint_ = 0;
  std::size_t nextSample_ = 0;
  std::size_t nextIsland_ = 0;
  std::size_t nextTrack_ = 0;
  std::size_t nextLink_ = 0;
  DisjointSets sets_;
  std::vector<State> bodies_;  // by root
};

}  // namespace stiltforge::hold
