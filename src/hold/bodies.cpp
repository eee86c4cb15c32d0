#include "hold/bodies.h"

namespace stiltforge::hold {

bool Bodies::areJoined(uint32_t a, uint32_t b, Layers layers) {
  const uint64_t pair = uint64_t{a} << 32 | b;
  const auto contains = [](const Layers& outer, const Layers& inner) {
    return outer.first <= inner.first && outer.last >= inner.last;
  };
  if (const auto entry = known_.find(pair); entry != known_.end()) {
    const Known& known = entry->second;
    if (known.isJoined && contains(layers, known.joined)) return true;
    if (known.isApart && contains(known.apart, layers)) return false;
  }
  if (regions_.visited() > mostVisited) return true;
  const bool joined = regions_.areJoined(a, b, layers.first, layers.last);
  Known& known = known_[pair];
  (joined ? known.isJoined : known.isApart) = true;
  (joined ? known.joined : known.apart) = layers;
  return joined;
}

}  // namespace stiltforge::hold
