#include "check/bodies.h"

#include <algorithm>
#include <cstddef>
#include <utility>

#include "check/joined_layers.h"

namespace stiltforge::check {

void Bodies::add(hold::Components pixels, uint32_t layer, const std::vector<uint64_t>& marked) {
  if (pixels.count == 0 && bodies_.empty()) return;
  const auto before = static_cast<uint32_t>(bodies_.size());
  const JoinedLayer joined = joinLayers(pixels, below_, bodyOf_, before);
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
    bodies[number].extent.join(extents[component]);
    bodies[number].marked = std::max(bodies[number].marked, marked[component]);
  }
  for (uint32_t body = 0; body < before; ++body) {
    const uint32_t number = numberOf[joined.ofBody[body]];
    if (number == none) {
      ended_(bodies_[body]);
    } else {
      bodies[number].extent.join(bodies_[body].extent);
      bodies[number].marked = std::max(bodies[number].marked, bodies_[body].marked);
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
