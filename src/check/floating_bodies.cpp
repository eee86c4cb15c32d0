#include "check/floating_bodies.h"

#include <algorithm>
#include <cstddef>
#include <tuple>
#include <utility>

#include "check/joined_layers.h"

namespace stiltforge::check {

namespace {

// Larger ones first, of equal ones that which begins first.
bool comesFirst(const FloatingBodies::Body* a, const FloatingBodies::Body* b) {
  if (a->extent.pixels != b->extent.pixels) return a->extent.pixels > b->extent.pixels;
  const Spot& first = a->islands.front().spot;
  const Spot& second = b->islands.front().spot;
  return std::tuple(first.layer, first.y, first.x) < std::tuple(second.layer, second.y, second.x);
}

}  // namespace

void FloatingBodies::join(std::vector<Body*>& parts, Body& whole, uint32_t layer) const {
  std::sort(parts.begin(), parts.end(), comesFirst);
  for (std::size_t i = 0; i < parts.size(); ++i) {
    Body& part = *parts[i];
    whole.extent.join(part.extent);
    if (i == 0) {
      whole.islands = std::move(part.islands);
      continue;
    }
    if (part.extent.pixels < limits_.pixels) continue;
    for (const Island& island : part.islands) {
      if (layer - island.spot.layer > limits_.layers) whole.islands.push_back(island);
    }
  }
}

void FloatingBodies::add(const hold::Components& regions, const hold::Components& below,
                         uint32_t layer, const std::vector<uint8_t>& hasPoint) {
  const auto before = static_cast<uint32_t>(bodies_.size());
  const JoinedLayer joined = joinLayers(regions, below, bodyOf_, before);
  const bool isOnPlate = std::exchange(isOnPlate_, false);

  constexpr uint32_t none = hold::Components::none;
  std::vector<uint32_t> numberOf(joined.count, none);
  std::vector<Body> bodies;
  bodyOf_.resize(regions.count);
  for (uint32_t region = 0; region < regions.count; ++region) {
    uint32_t& number = numberOf[joined.ofComponent[region]];
    if (number == none) {
      number = static_cast<uint32_t>(bodies.size());
      bodies.emplace_back();
    }
    bodyOf_[region] = number;
    bodies[number].isHeld |= isOnPlate || hasPoint[region] != 0;
  }
  std::vector<std::vector<Body*>> parts(bodies.size());
  for (uint32_t body = 0; body < before; ++body) {
    const uint32_t number = numberOf[joined.ofBody[body]];
    if (number != none) {
      bodies[number].isHeld |= bodies_[body].isHeld;
      if (!bodies_[body].isHeld) parts[number].push_back(&bodies_[body]);
    } else if (!bodies_[body].isHeld) {
      lost_(bodies_[body]);
    }
  }

  for (std::size_t i = 0; i < bodies.size(); ++i) {
    if (!bodies[i].isHeld) {
      join(parts[i], bodies[i], layer);
      continue;
    }
    for (const Body* part : parts[i]) taken_(*part, layer);
  }
  std::vector<uint8_t> floats(regions.count);
  for (uint32_t region = 0; region < regions.count; ++region) {
    floats[region] = bodies[bodyOf_[region]].isHeld ? 0 : 1;
  }
  const std::vector<Extent> extents = extentsOf(regions, layer, floats);
  for (uint32_t region = 0; region < regions.count; ++region) {
    if (floats[region] == 0) continue;
    Body& body = bodies[bodyOf_[region]];
    body.extent.join(extents[region]);
    if (body.islands.empty())
      body.islands.push_back({extents[region].piece, extents[region].pieceSize});
  }
  bodies_ = std::move(bodies);
}

void FloatingBodies::finish() {
  for (const Body& body : bodies_) {
    if (!body.isHeld) lost_(body);
  }
  bodies_.clear();
  bodyOf_.clear();
}

}  // namespace stiltforge::check
