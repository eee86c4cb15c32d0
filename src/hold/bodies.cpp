#include "hold/bodies.h"

namespace stiltforge::hold {

bool Bodies::areJoined(uint32_t a, uint32_t b, Layers layers) {
  if (regions_.visited() > mostVisited) return true;
  const auto [entry, isNew] = known_.try_emplace(uint64_t{a} << 32 | b);
  Known& known = entry->second;
  const auto contains = [](const Layers& outer, const Layers& inner) {
    return outer.first <= inner.first && outer.last >= inner.last;
  };
  if (!isNew) {
    if (known.isJoined && contains(layers, known.joined)) return true;
    if (known.isApart && contains(known.apart, layers)) return false;
  }
  const bool joined = regions_.areJoined(a, b, layers.first, layers.last);
  (joined ? known.isJoined : known.isApart) = true;
  (joined ? known.joined : known.apart) = layers;
  return joined;
}

}  // namespace stiltforge::hold
