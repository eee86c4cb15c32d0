#pragma once

#include <cstdint>
#include <functional>
#include <utility>
#include <vector>

#include "check/extent.h"
#include "check/reach.h"
#include "hold/components.h"

namespace stiltforge::check {

/// Sets of pixels that hang together over layers by pixels that lie within reach of each other, as
/// seen from above. Takes memory for those that reach up to the last layer.
class Bodies {
 public:
  struct Body {
    Extent extent;
    uint64_t marked = 0;  ///< the largest of what was given for its components
    // The layers with components for which something was given.
    uint32_t firstMarked = 0;
    uint32_t lastMarked = 0;

    void join(const Body& other);
  };
  using Ended = std::function<void(const Body&)>;

  /// ended: called for each body that no higher layer goes on with.
  Bodies(Reach reach, Ended ended) : reach_(std::move(reach)), ended_(std::move(ended)) {}

  /// Takes the pixels of the next layer. marked: a number for each component.
  void add(hold::Components pixels, uint32_t layer, const std::vector<uint64_t>& marked);
  /// Ends all.
  void finish();

 private:
  Reach reach_;
  Ended ended_;
  hold::Components below_;
  std::vector<uint32_t> bodyOf_;  // by component of it
  std::vector<Body> bodies_;
};

}  // namespace stiltforge::check
