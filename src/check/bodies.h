#pragma once

#include <cstdint>
#include <functional>
#include <vector>

#include "check/extent.h"
#include "hold/components.h"

namespace stiltforge::check {

/// Sets of pixels that hang together over layers by pixels above each other. Takes memory for
/// those that reach up to the last layer.
class Bodies {
 public:
  struct Body {
    Extent extent;
    uint64_t marked = 0;  ///< the largest of what was given for its components
  };
  using Ended = std::function<void(const Body&)>;

  /// ended: called for each body that no higher layer goes on with.
  explicit Bodies(Ended ended) : ended_(std::move(ended)) {}

  /// Takes the pixels of the next layer. marked: a number for each component.
  void add(hold::Components pixels, uint32_t layer, const std::vector<uint64_t>& marked);
  /// Ends all.
  void finish();

 private:
  Ended ended_;
  hold::Components below_;
  std::vector<uint32_t> bodyOf_;  // by component of it
  std::vector<Body> bodies_;
};

}  // namespace stiltforge::check
