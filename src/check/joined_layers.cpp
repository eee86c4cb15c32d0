#include "check/joined_layers.h"

#include "hold/disjoint_sets.h"

namespace stiltforge::check {

JoinedLayer joinLayers(const hold::Components& layer, const hold::Components& below,
                       const std::vector<uint32_t>& bodyOf, uint32_t bodies,
                       const std::vector<uint32_t>& anchored) {
  hold::DisjointSets sets;
  for (uint32_t i = 0; i < bodies + layer.count; ++i) sets.add();
  hold::forEachShared(layer.pixels, below.pixels,
                      [&](uint32_t run, uint32_t lower, uint16_t, uint16_t) {
                        sets.unite(bodies + layer.ofRun[run], bodyOf[below.ofRun[lower]]);
                      });
  for (const uint32_t component : anchored) sets.unite(0, bodies + component);

  JoinedLayer joined;
  joined.ofBody.resize(bodies);
  joined.ofComponent.resize(layer.count);
  // A root comes before the others of its set.
  for (uint32_t i = 0; i < sets.size(); ++i) {
    const uint32_t root = sets.root(i);
    uint32_t& number = i < bodies ? joined.ofBody[i] : joined.ofComponent[i - bodies];
    if (root == i) {
      number = joined.count++;
    } else {
      number = root < bodies ? joined.ofBody[root] : joined.ofComponent[root - bodies];
    }
  }
  return joined;
}

}  // namespace stiltforge::check
