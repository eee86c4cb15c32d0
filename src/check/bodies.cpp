#include "check/bodies.h"

#include <algorithm>
#include <cstddef>
#include <utility>

#include "check/joined_layers.h"

namespace stiltforge::check {

void Bodies::Body::join(const Body& other) {
  extent.join(other.extent);
  if (other.marked == 0) return;
  firstMarked = marked == 0 ? other.firstMarked : std::min(firstMarked, other.firstMarked);
  lastMarked = marked == 0 ? other.lastMarked : std::max(lastMarked, other.lastMarked);
  marked = std::max(marked, other.marked);
}

void Bodies::add(hold::Components pixels, uint32_t layer, const std::vector<uint64_t>& marked) {
  if (pixels.count == 0 && bodies_.empty()) return;
  const auto before = static_cast<uint32_t>(bodies_.size());
  const JoinedLayer joined = joinLayersWithin(reach_, pixels, below_, bodyOf_, before);
  const std::vector<Extent> extents =
      extentsOf(pixels, layer, std::vector<uint8_t>(pixels.count, 1));

  constexpr uint32_t none = hold::Components::none;
  std::vector<uint32_t> numberOf(joined.count, none);  // of the bodies that go on
  std::vector<Body> bodies;
  bodyOf_.resize(pixels.count);
  for (uint32_t component = 0; component < pixels.count; ++component) {
    uint32_t& number = numberOf[joined.ofComponent[component]];
    if (number == none) {
      number = static_cast<uint32_t>(bodies.size());
      bodies.emplace_back();
    }
    bodyOf_[component] = number;
    bodies[number].join({extents[component], marked[component], layer, layer});
  }
  for (uint32_t body = 0; body < before; ++body) {
    const uint32_t number = numberOf[joined.ofBody[body]];
    if (number == none) {
      ended_(bodies_[body]);
    } else {
      bodies[number].join(bodies_[body]);
    }
  }
  bodies_ = std::move(bodies);
  below_ = std::move(pixels);
}

void Bodies::finish() {
  for (const Body& body : bodies_) ended_(body);
  bodies_.clear();
}

}  // namespace stiltforge::check
